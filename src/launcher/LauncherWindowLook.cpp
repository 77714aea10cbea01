#include "launcher/FittingLabel.h"
#include "launcher/HeightFitter.h"
#include "launcher/LauncherPage.h"
#include "launcher/LauncherWindow.h"
#include "launcher/MainButtonStyle.h"
#include "launcher/PlainToolTip.h"
#include "launcher/ProgressText.h"
#include "package/PackageClient.h"
#include "package/SafeAddress.h"
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

void LauncherWindow::applyMakerLogoLink()
{
    const QUrl target(installation.package.logolinktarget);
    if (isWebAddress(target))
        launcherPage->setMakerLink(target.toString(QUrl::FullyEncoded));
}

void LauncherWindow::setButtonStyle(const QString& colour, const QString& icon)
{
    mainButton->setStyleSheet(mainButtonStyle(colour, icon));
    mainButton->setAccessibleName(icon);
    explainMainButton();
}

void LauncherWindow::showHeldClick()
{
    mainButton->setCursor(flowGate.holdsClick() ? Qt::BusyCursor : Qt::PointingHandCursor);
    explainMainButton();
}

// The button's mode shows only as a picture; a word says it to a screen reader and on hovering. The
// status text of a failed update is gone at once, so its reason is told here until the next click.
void LauncherWindow::explainMainButton()
{
    const QString more =
        flowGate.holdsClick() ? QStringLiteral("Waiting for the server\u2026") : lastError;
    mainButton->setAccessibleDescription(more);
    mainButton->setToolTip(more.isEmpty() ? mainButton->accessibleName() : plainToolTip(more));
}

void LauncherWindow::setBusy(bool updating, const QString& statusText)
{
    Q_UNUSED(statusText)
    busy = updating;
    mainButton->setEnabled(!updating);
    progressBar->setVisible(updating);
    progressTimer.stop();
    if (updating) {
        flowGate.forgetClick();
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
    heightFitter->logoChanged();
    heightFitter->fit();
}

void LauncherWindow::showStatus(const QString& text)
{
    statusLabel->showText(text, busy ? FittingLabel::Width::OnlyGrows : FittingLabel::Width::Fits);
    if (!busy)
        heightFitter->fit();
}

void LauncherWindow::onProgress(qint64 bytes, qint64 totalBytes)
{
    if (!busy)
        return;
    if (!elapsed.isValid())
        elapsed.start();
    const qint64 total = totalBytes >= 1 ? totalBytes : bytes;
    if (total > 0)
        progressBar->setValue(percentDone(bytes, total));
    lastBytes = bytes;
    lastTotal = total;
    showProgressLine();
    progressTimer.start();
}

// Also without a report: while nothing arrives, a line that stands still would promise the last
// rate for ever.
void LauncherWindow::showProgressLine()
{
    showStatus(etaText(lastBytes, lastTotal, elapsed.elapsed()));
}

QString LauncherWindow::etaText(qint64 bytes, qint64 total, qint64 elapsedMs)
{
    return ::etaText(bytes, total, elapsedMs);
}

void LauncherWindow::showCannotStart(const QString& reason)
{
    showStatus(reason.isEmpty() ? QStringLiteral("Quelra cannot be started")
                                : QStringLiteral("Quelra cannot be started: %1").arg(reason));
}

void LauncherWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
}

void LauncherWindow::refreshState()
{
    const FlowGate::Guard guard(flowGate);
    const QString shown = remoteVersion.isEmpty() ? installedVersion() : remoteVersion;
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
    installation.checkFiles();
    showOffer();
    mainButton->setEnabled(true);
    heightFitter->fit();
}

void LauncherWindow::showOffer()
{
    switch (installation.offer()) {
    case Installation::Offer::Download:
        setButtonStyle(QStringLiteral("Blue"), QStringLiteral("Download"));
        break;
    case Installation::Offer::Update:
        setButtonStyle(QStringLiteral("Orange"), QStringLiteral("Update"));
        break;
    case Installation::Offer::Play:
        setButtonStyle(QStringLiteral("Green"), QStringLiteral("Play"));
        break;
    }
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
