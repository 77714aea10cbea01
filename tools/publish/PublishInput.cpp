#include "publish/PublishInput.h"

#include "publish/Addresses.h"
#include "publish/EntryFacts.h"
#include "publish/LauncherVersion.h"
#include "publish/Limits.h"
#include "publish/NameRules.h"
#include "publish/PublishRequest.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace publish {

namespace {

QString similarPath(const QList<InputFile>& files, const QString& wanted)
{
    for (const InputFile& file : files) {
        if (file.localfile.compare(wanted, Qt::CaseInsensitive) == 0)
            return file.localfile;
    }
    return {};
}

bool contains(const QList<InputFile>& files, const QString& path)
{
    return std::any_of(files.begin(), files.end(),
                       [&path](const InputFile& file) { return file.localfile == path; });
}

} // namespace

QStringList PublishInput::read(const PublishRequest& request)
{
    m_faults.clear();
    m_warnings.clear();
    const QString version = versionFault(request.version);
    if (!version.isEmpty())
        m_faults.append(version);
    if (request.version.size() > limits::versionLength)
        m_warnings.append(QStringLiteral("the version text has %1 characters, over %2")
                              .arg(request.version.size())
                              .arg(limits::versionLength));
    if (!request.publicUrl.isEmpty()) {
        const QString fault = addresses::publicUrlFault(request.publicUrl);
        if (!fault.isEmpty())
            m_faults.append(fault);
    }
    if (!request.product.isLauncher) {
        const QString fault = directoryFault(request.product.directory);
        if (!fault.isEmpty())
            m_faults.append(fault);
    }
    const QString content = QDir::cleanPath(QFileInfo(request.content).absoluteFilePath());
    const QString folder = QDir::cleanPath(QFileInfo(request.input).absoluteFilePath());
    if (liesIn(content, folder))
        m_faults.append(QStringLiteral("the content folder lies in the input"));
    InputFolder input = readInputFolder(request.input);
    m_files = std::move(input.files);
    m_faults += input.faults;
    if (!request.assets.isEmpty())
        readAssets(request);
    checkNames(request);
    if (request.product.isLauncher)
        checkLauncher(request);
    return m_faults;
}

// The folder meant by the request's "assets": a part of the input first, then a folder by its own
// path.
QString PublishInput::assetsFolder(const PublishRequest& request)
{
    const QFileInfo inside(QDir(request.input).filePath(request.assets));
    const QFileInfo outside(request.assets);
    if (!inside.isDir())
        return outside.filePath();
    if (outside.isDir() && outside.canonicalFilePath() != inside.canonicalFilePath())
        m_warnings.append(
            QStringLiteral("the assets are those in %1, a part of the input; there is also %2")
                .arg(QDir::cleanPath(inside.absoluteFilePath()),
                     QDir::cleanPath(outside.absoluteFilePath())));
    return inside.filePath();
}

// Files of a part of the input keep their paths; those of another folder are taken from its root.
void PublishInput::readAssets(const PublishRequest& request)
{
    const auto [folder, kind, isReadable, size] = entryFacts(QFileInfo(assetsFolder(request)));
    const QString input = entryFacts(QFileInfo(request.input)).finalPath;
    if (folder.isEmpty() || kind != EntryFacts::Kind::Folder) {
        m_faults.append(QStringLiteral("%1: no such folder of assets").arg(request.assets));
        return;
    }
    if (!liesIn(folder, input)) {
        InputFolder other = readInputFolder(folder);
        m_assets = std::move(other.files);
        m_faults += other.faults;
        return;
    }
    const qsizetype inner = input.size() + (input.endsWith(u'/') ? 0 : 1);
    const QString prefix = folder == input ? QString() : folder.sliced(inner) + u'/';
    QList<InputFile> rest;
    for (const InputFile& file : std::as_const(m_files))
        (file.localfile.startsWith(prefix) ? m_assets : rest).append(file);
    m_files = rest;
}

void PublishInput::checkNames(const PublishRequest& request)
{
    m_faults += nameFaults(m_files + m_assets, request.product.installFolder());
    const auto executable =
        std::find_if(m_files.begin(), m_files.end(), [&request](const InputFile& file) {
            return file.localfile == request.executable;
        });
    if (executable != m_files.end()) {
        if (executable->size == 0)
            m_warnings.append(
                QStringLiteral("%1: the executable is empty").arg(request.executable));
        return;
    }
    const QString similar = similarPath(m_files, request.executable);
    if (request.executable.isEmpty())
        m_faults.append(QStringLiteral("no executable is named"));
    else if (contains(m_assets, request.executable))
        m_faults.append(QStringLiteral("%1: the executable must not be one of the assets")
                            .arg(request.executable));
    else if (!similar.isEmpty())
        m_faults.append(QStringLiteral("%1: there is no such executable, but there is %2")
                            .arg(request.executable, similar));
    else
        m_faults.append(
            QStringLiteral("%1: the input has no such executable").arg(request.executable));
}

void PublishInput::checkLauncher(const PublishRequest& request)
{
    for (const InputFile& file : std::as_const(m_files)) {
        if (file.localfile != request.executable)
            continue;
        const QString fault = launcherVersionFault(file.path, request.version);
        if (!fault.isEmpty())
            m_faults.append(file.localfile + QLatin1StringView(": ") + fault);
    }
}

} // namespace publish
