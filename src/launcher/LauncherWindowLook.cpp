#include "launcher/FittingLabel.h"
#include "launcher/FlowGuard.h"
#include "launcher/LauncherWindow.h"
#include "launcher/PlainToolTip.h"
#include "package/PackageClient.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QGroupBox>
#include <QImageReader>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <optional>

namespace {

QString logoFile(int mode)
{
    switch (mode) {
    case LauncherWindow::Updating:
        return QStringLiteral(":/images/launcher/QuelraLogo_UpdatingLauncher.png");
    case LauncherWindow::Launching:
        return QStringLiteral(":/images/launcher/QuelraLogo_LaunchingClient.png");
    default:
        return QStringLiteral(":/images/launcher/QuelraLogo_Classic.png");
    }
}

bool isClassic(int mode)
{
    return mode != LauncherWindow::Updating && mode != LauncherWindow::Launching;
}

// What follows the last `separator`; nothing when there is none or it ends the text.
std::optional<QString> partAfterLast(const QString& text, QChar separator)
{
    const qsizetype index = text.lastIndexOf(separator);
    if (index < 0 || index == text.size() - 1)
        return std::nullopt;
    return text.sliced(index + 1);
}

} // namespace

void LauncherWindow::setButtonStyle(const QString& colour, const QString& icon)
{
    const QString iconCss =
        icon.isEmpty() ? QString()
                       : QStringLiteral("image: url(:/images/launcher/Icon_%1.png);").arg(icon);
    mainButton->setStyleSheet(
        QStringLiteral(
            "QPushButton { background-image: url(:/images/launcher/Button_%1_idle.png); %2 border: "
            "none; }QPushButton:hover { background-image: "
            "url(:/images/launcher/Button_%1_hover.png); }QPushButton:pressed { background-image: "
            "url(:/images/launcher/Button_%1_pressed.png); padding-top: 1px; padding-left: 1px; "
            "padding-bottom: -1px; padding-right: -1px; }QPushButton:disabled { background-image: "
            "url(:/images/launcher/Button_%1_idle.png); }")
            .arg(colour, iconCss));
    mainButton->setAccessibleName(icon);
    explainMainButton();
}

void LauncherWindow::setBusy(bool updating, const QString& statusText)
{
    Q_UNUSED(statusText)
    busy = updating;
    mainButton->setEnabled(!updating);
    progressBar->setVisible(updating);
    progressTimer.stop();
    if (updating) {
        setClickWaits(false);
        mainButton->setText(QString());
        setButtonStyle(QStringLiteral("Orange"), QStringLiteral("Update"));
    }
    setLogo(updating ? Updating : Classic);
}

void LauncherWindow::setLogo(int mode)
{
    if (!logoLabel)
        return;
    // The label stays empty and only keeps the logo's place: the game's name stands on the
    // background already. So the size is all that is read of the picture.
    const QSize size = QImageReader(logoFile(mode)).size();
    if (size.isValid()) {
        logoLabel->setFixedSize(size);
        logoLabel->clear();
    } else if (isClassic(mode)) {
        logoLabel->setFixedSize(256, 128);
        logoLabel->setText(QStringLiteral("Vornak"));
    }
    logoHeight = logoLabel->minimumHeight();
    fitHeight();
}

void LauncherWindow::showStatus(const QString& text)
{
    statusLabel->showText(text, busy ? FittingLabel::Width::OnlyGrows : FittingLabel::Width::Fits);
    if (!busy)
        fitHeight();
}

void LauncherWindow::refreshState()
{
    const FlowGuard guard(*this);
    const QString installed = installedVersion();
    const QString shown = remoteVersion.isEmpty() ? installed : remoteVersion;
    versionLabel->showText(shown);
    if (revisionLabel) {
        const QString revision = versionSuffix(shown);
        revisionLabel->setText(revision.isEmpty() ? QStringLiteral("dev") : revision);
        revisionLabel->setToolTip(
            plainToolTip(QStringLiteral("Revision %1").arg(revisionLabel->text())));
    }
    if (busy)
        return;

    showStatus(QString());
    progressBar->hide();
    mainButton->setText(QString());
    if (!document.files.isEmpty())
        filesIncomplete = packageClient->hasMissingFiles(document, packagePath());
    if (installed.isEmpty())
        setButtonStyle(QStringLiteral("Blue"), QStringLiteral("Download"));
    else if ((remoteVersion.isEmpty() || remoteVersion == installed) && assetsAreCurrent() &&
             !filesIncomplete)
        setButtonStyle(QStringLiteral("Green"), QStringLiteral("Play"));
    else
        setButtonStyle(QStringLiteral("Orange"), QStringLiteral("Update"));
    mainButton->setEnabled(true);
    fitHeight();
}

QString LauncherWindow::versionSuffix(const QString& text)
{
    if (const auto part = partAfterLast(text, u'.'))
        return *part;
    return partAfterLast(text, u'-').value_or(text);
}

void LauncherWindow::showHint(const QList<HintEntry>& hints)
{
    HintEntry hint;
    if (hintsHaveRichContent(hints))
        hint = pickShowableHint(hints);
    if (hint.richText.isEmpty())
        hint = pickRandomHint(loadEmbeddedHints());
    if (hint.richText.isEmpty())
        return;
    // A single one would mark the letter behind it as a key.
    const QString title = QString(hint.title).replace(u'&', QLatin1StringView("&&"));
    hintGroup->setTitle(title.isEmpty() ? QStringLiteral("Hint") : title);
    infoBrowser->setHtml(rewriteHintHtml(hint.richText, packageClient->baseUrl()));
}

void LauncherWindow::refreshHint()
{
    const QString base = packageClient->baseUrl();
    const QUrl address =
        base.isEmpty() ? QUrl() : QUrl(base + QLatin1StringView("/hints.json"), QUrl::TolerantMode);
    const QByteArray hints = packageClient->fetchBytes(address, nullptr, transferlimits::document);
    // The embedded ones have pictures too, which would be asked for.
    if (!packageClient->isQuitting())
        showHint(parseHints(hints));
}
