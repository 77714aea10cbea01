#include "launcher/FlowGuard.h"
#include "launcher/LauncherWindow.h"
#include "package/Markers.h"
#include "package/PackageClient.h"
#include "package/SafeAddress.h"
#include "package/SafePath.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <chrono>

namespace {

QString makerLogoLink(const QUrl& target)
{
    return QStringLiteral("<a href=\"%1\"><img src=\":/images/launcher/OrlenvikLogo.png\"></a>")
        .arg(target.toString(QUrl::FullyEncoded));
}

} // namespace

void LauncherWindow::loadConfiguration()
{
    const FlowGuard guard(*this);
    QString error;
    const LauncherMetadata configuration = packageClient->fetchLauncherMetadata(&error);
    if (packageClient->isQuitting())
        return;
    if (!selectPackageAndBuild(configuration, error)) {
        refreshState();
        return;
    }
    fetchRemoteState();
    if (packageClient->isQuitting())
        return;
    refreshHint();
    refreshState();
    if (packageClient->isQuitting() || checkSelfUpdate(configuration) ||
        packageClient->isQuitting())
        return;
    decide();
}

bool LauncherWindow::selectPackageAndBuild(const LauncherMetadata& configuration,
                                           const QString& error)
{
    if (configuration.packages.isEmpty()) {
        showMessage(error.isEmpty() ? QStringLiteral("Download of main configuration failed:")
                                    : error);
        return false;
    }
    package = configuration.packages.first();
    applyMakerLogoLink();
    const LauncherBuild* selected = selectBuild(package.builds, PackageClient::currentOs(),
                                                PackageClient::currentArchitecture());
    if (!selected) {
        showMessage(QStringLiteral("Could not determine patch information. Your client might no "
                                   "longer be supported."));
        return false;
    }
    build = *selected;
    return true;
}

void LauncherWindow::showMessage(const QString& text)
{
    infoBrowser->setPlainText(text);
}

void LauncherWindow::applyMakerLogoLink()
{
    if (!makerLogoLabel || package.logolinktarget.isEmpty())
        return;
    const QUrl target(package.logolinktarget);
    if (isWebAddress(target))
        makerLogoLabel->setText(makerLogoLink(target));
}

// An empty address would be that of the server itself, whose front page is no version.
QString LauncherWindow::fetchVersion(const QUrl& url)
{
    return url.isEmpty() ? QString() : packageClient->fetchText(url, nullptr);
}

OrlPackageDoc LauncherWindow::fetchDocument(const QUrl& url, QString* error)
{
    return url.isEmpty() ? OrlPackageDoc() : packageClient->fetchPackageDoc(url, error);
}

// An address that cannot be fetched leaves its text empty, which reads as "not up to date".
void LauncherWindow::fetchRemoteState()
{
    remoteVersion = fetchVersion(build.versionurl);
    if (!build.assetsversionurl.isEmpty())
        remoteAssetsHash = fetchVersion(build.assetsversionurl);
    document = fetchDocument(build.url, nullptr);
    if (!document.files.isEmpty())
        filesIncomplete = packageClient->hasMissingFiles(document, packagePath());
}

void LauncherWindow::decide()
{
    const bool patch = QCoreApplication::arguments().contains(QStringLiteral("--patch"));
    if (patch && isUpToDate())
        play();
    else if (package.installautomatically && installedVersion().isEmpty())
        runUpdate(patch);
    else if (patch && remoteVersion != installedVersion())
        runUpdate(true);
}

bool LauncherWindow::assetsAreCurrent() const
{
    return remoteAssetsHash.isEmpty() || installedAssetsHash() == remoteAssetsHash;
}

bool LauncherWindow::isUpToDate() const
{
    return !remoteVersion.isEmpty() && remoteVersion == installedVersion() && !filesIncomplete &&
           assetsAreCurrent();
}

void LauncherWindow::runUpdate(bool launchAfter)
{
    const FlowGuard guard(*this);
    if (isUpToDate()) {
        if (launchAfter)
            play();
        return;
    }
    lastError.clear();
    setBusy(true, QStringLiteral("UPDATING"));
    elapsed.start();
    QString error;
    const bool updated = updateAlone(&error);
    if (packageClient->isQuitting())
        return;
    if (!updated) {
        endUpdateWithFailure(error);
        return;
    }
    filesIncomplete = false;
    setBusy(false);
    showStatus(QString());
    progressBar->hide();
    refreshState();
    if (launchAfter && !packageClient->isQuitting())
        play();
}

// Two launchers that wrote files of two versions into one folder would leave a mixture that the
// records call whole.
bool LauncherWindow::updateAlone(QString* error)
{
    bool waited = false;
    const auto lock = lockPackages(&waited);
    if (packageClient->isQuitting())
        return false;
    if (waited) {
        // Most of it has been done meanwhile, and perhaps of another version.
        fetchRemoteState();
        if (packageClient->isQuitting() || isUpToDate())
            return !packageClient->isQuitting();
        elapsed.start();
    }
    if (!updatePackage(error) || !updateAssets(error))
        return false;
    remoteVersion = document.version;
    return true;
}

// Null also when no lock can be made: then nothing can be written either, or nobody else is there.
std::unique_ptr<FileLock> LauncherWindow::lockPackages(bool* waited)
{
    const QString path =
        pathBelowFolder(packageClient->dataFolder(), QStringLiteral("packages.lock"));
    for (;;) {
        QString error;
        auto lock = FileLock::take(path, &error);
        if (lock || !error.isEmpty())
            return lock;
        *waited = true;
        showStatus(QStringLiteral("Waiting for another launcher"));
        if (!packageClient->waitFor(std::chrono::milliseconds(250)))
            return nullptr;
    }
}

// The window's document changes only when its package is in place.
bool LauncherWindow::updatePackage(QString* error)
{
    OrlPackageDoc wanted = document;
    if (wanted.files.isEmpty() || wanted.version != remoteVersion)
        wanted = fetchDocument(build.url, error);
    // Without a folder the records would land wherever the launcher was started.
    const QString folder = packagePath();
    if (!wanted.version.isEmpty() && !folder.isEmpty() &&
        packageClient->installPackage(build.url, wanted, folder, error)) {
        document = wanted;
        return true;
    }
    if (error->isEmpty())
        *error = QStringLiteral("The installation of %1 failed.").arg(package.name);
    return false;
}

bool LauncherWindow::updateAssets(QString* error)
{
    if (build.assetsurl.isEmpty())
        return true;
    const QString hash = fetchVersion(build.assetsversionurl);
    if (packageClient->isQuitting())
        return false;
    if (hash.isEmpty())
        return true;
    if (hash != installedAssetsHash() && !installAssetsAs(hash, error))
        return false;
    // They may have changed on the server since the start.
    remoteAssetsHash = hash;
    return true;
}

bool LauncherWindow::installAssetsAs(const QString& hash, QString* error)
{
    // A list that is missing or damaged must not pass for an empty one: its identity would be
    // recorded and the assets never fetched.
    QString listError;
    const QByteArray list = packageClient->fetchBytes(build.assetsurl, &listError);
    const QList<OrlFile> files = parseAssetList(list, &listError);
    if (list.isEmpty() || !listError.isEmpty()) {
        *error = listError;
        return false;
    }
    return packageClient->installAssets(build.assetsurl, files, hash, packagePath(), error);
}

void LauncherWindow::endUpdateWithFailure(const QString& error)
{
    setBusy(false);
    showStatus(error);
    refreshState();
    // Without a configuration there is nothing to install, whatever failed in trying to, and it is
    // asked for at the next start only.
    lastError = build.url.isEmpty()
                    ? QStringLiteral("The launcher does not know the game's files. Please start it "
                                     "again when the server can be reached.")
                    : error;
    explainMainButton();
}

void LauncherWindow::play()
{
    const FlowGuard guard(*this);
    setClickWaits(false);
    setLogo(Launching);
    setButtonStyle(QStringLiteral("Green"), QStringLiteral("Play"));
    mainButton->setEnabled(false);
    const QString folder = packagePath();
    QFile file(pathBelowFolder(folder, markers::packageDocument));
    const OrlPackageDoc installed =
        parsePackageDoc(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), nullptr);
    const QString program = pathBelowFolder(folder, installed.executable);
    if (!program.isEmpty() && QFileInfo::exists(program)) {
        PackageClient::makeExecutable(program);
        startClient(program, folder,
                    installed.version.isEmpty() ? remoteVersion : installed.version);
        return;
    }
    setLogo(Classic);
    refreshState();
    showCannotStart();
}

QString LauncherWindow::packagePath() const
{
    return pathBelowFolder(QDir(packageClient->dataFolder()).filePath(QStringLiteral("packages")),
                           package.folderName());
}

QString LauncherWindow::installedVersion() const
{
    return readTrimmedText(pathBelowFolder(packagePath(), markers::packageVersion));
}

QString LauncherWindow::installedAssetsHash() const
{
    return readTrimmedText(pathBelowFolder(packagePath(), markers::assetsIdentity));
}

QString LauncherWindow::readTrimmedText(const QString& path) const
{
    return ::readTrimmedText(path);
}

bool LauncherWindow::hasSpritePacks() const
{
    const QString path = pathBelowFolder(packagePath(), QStringLiteral(".vornak-sprite-packs"));
    return !path.isEmpty() && QFileInfo::exists(path);
}
