#include "launcher/LauncherPage.h"

#include "launcher/FittingLabel.h"
#include "launcher/LinkLabel.h"
#include "launcher/StyleSheet.h"
#include "package/SafeAddress.h"
#include "shared/BuildValues.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

// Every widget is made inside its parent: one that a layout moves there later has to take over the
// styles of its new place.

namespace {

constexpr int panelTextWidth = 420;
constexpr QLatin1StringView makerLogoFile(":/images/launcher/OrlenvikLogo.png");

// A group box takes its margins from a style sheet that it meets before its parent's.
QGroupBox* makeGroup(const char* name, const char* styleSheet, QWidget* parent)
{
    auto* group = new QGroupBox;
    group->setObjectName(QLatin1StringView(name));
    group->setAlignment(Qt::AlignHCenter);
    group->setStyleSheet(loadStyleSheet(styleSheet));
    group->setParent(parent);
    return group;
}

void openHintLink(const QUrl& address)
{
    if (isWebAddress(address))
        QDesktopServices::openUrl(address);
}

void setUpLabel(QLabel& label, const char* name, const char* styleSheet, Qt::Alignment alignment)
{
    label.setObjectName(QLatin1StringView(name));
    label.setStyleSheet(loadStyleSheet(styleSheet));
    label.setAlignment(alignment);
    // Versions and reasons come from the server; marks in them are no markup.
    label.setTextFormat(Qt::PlainText);
}

QLabel* makeLabel(const char* name, const char* styleSheet, Qt::Alignment alignment,
                  QWidget* parent)
{
    auto* label = new QLabel(parent);
    setUpLabel(*label, name, styleSheet, alignment);
    return label;
}

} // namespace

LauncherPage::LauncherPage(QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addSpacing(11);
    layout->addLayout(buildTopRow());
    layout->addSpacing(6);
    buildHintGroup();
    layout->addWidget(hintGroup, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    layout->addSpacing(8);
    layout->addLayout(buildBottomRow());
    layout->addSpacing(8);
}

void LauncherPage::buildLogo()
{
    logoLabel = new QLabel(this);
    logoLabel->setObjectName(QStringLiteral("logoLabel"));
    logoLabel->setAlignment(Qt::AlignCenter);
    // The name of the game is painted on the background; the label only keeps its place.
    logoLabel->setAccessibleName(QStringLiteral("Quelra"));
}

void LauncherPage::buildMainButton()
{
    mainButton = new QPushButton(packageGroup);
    mainButton->setObjectName(QStringLiteral("mainButton"));
    const QPixmap picture(QStringLiteral(":/images/launcher/Button_Blue_idle.png"));
    mainButton->setFixedSize(picture.isNull() ? QSize(150, 37) : picture.size());
    mainButton->setCursor(Qt::PointingHandCursor);
    mainButton->setFocusPolicy(Qt::NoFocus);
}

void LauncherPage::buildPackageWidgets()
{
    progressBar = new QProgressBar(packageGroup);
    progressBar->setObjectName(QStringLiteral("progressBar"));
    progressBar->setAccessibleName(QStringLiteral("Update progress"));
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    progressBar->setTextVisible(true);
    progressBar->setStyleSheet(loadStyleSheet("progress.qss"));
    progressBar->hide();

    versionLabel = new FittingLabel({panelTextWidth, 1, 16}, packageGroup);
    setUpLabel(*versionLabel, "versionLabel", "label-13.qss", Qt::AlignCenter);
    versionLabel->setWordWrap(false);
    versionLabel->setAccessibleDescription(QStringLiteral("Client version"));

    // With the most lines, the window is just below its largest height.
    statusLabel = new FittingLabel({panelTextWidth, 6}, packageGroup);
    setUpLabel(*statusLabel, "statusLabel", "label-13.qss", Qt::AlignCenter);
    statusLabel->setWordWrap(true);
    statusLabel->setAccessibleDescription(QStringLiteral("Status"));

    defaultClientCheckBox = new QCheckBox(QStringLiteral("Default Client"), packageGroup);
    defaultClientCheckBox->setObjectName(QStringLiteral("defaultClientCheckBox"));
    defaultClientCheckBox->setChecked(
        QSettings().value(QStringLiteral("defaultClient"), true).toBool());
    defaultClientCheckBox->setStyleSheet(loadStyleSheet("checkbox.qss"));
}

void LauncherPage::buildPackageGroup()
{
    packageGroup = makeGroup("packageGroup", "package-group.qss", this);
    buildMainButton();
    buildPackageWidgets();
    auto* layout = new QVBoxLayout(packageGroup);
    layout->setSpacing(2);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->addWidget(mainButton, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    layout->addWidget(versionLabel, 0, Qt::AlignHCenter);
    layout->addSpacing(6);
    layout->addWidget(defaultClientCheckBox, 0, Qt::AlignHCenter);
    layout->addWidget(progressBar, 0, Qt::AlignHCenter);
    layout->addWidget(statusLabel, 0, Qt::AlignHCenter);
}

QLayout* LauncherPage::buildTopRow()
{
    buildLogo();
    buildPackageGroup();
    auto* column = new QVBoxLayout;
    column->addWidget(logoLabel, 0, Qt::AlignHCenter);
    column->addSpacing(6);
    column->addWidget(packageGroup, 0, Qt::AlignHCenter | Qt::AlignBottom);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addLayout(column, 2);
    row->addStretch(1);
    return row;
}

void LauncherPage::buildHintGroup()
{
    hintGroup = makeGroup("hintGroup", "hint-group.qss", this);
    hintGroup->setTitle(QStringLiteral("Hint"));
    hintGroup->setFixedWidth(560);

    infoBrowser = new shared::QTextBrowserWithNetwork(hintGroup);
    infoBrowser->setObjectName(QStringLiteral("infoBrowser"));
    infoBrowser->setOpenExternalLinks(true);
    // By openHintLink(): the browser itself would start whatever the system knows for a scheme, and
    // leave the hint for a local address.
    infoBrowser->setOpenLinks(false);
    connect(infoBrowser, &QTextBrowser::anchorClicked, this, &openHintLink);
    infoBrowser->setContextMenuPolicy(Qt::NoContextMenu);
    infoBrowser->setFixedSize(542, hintHeight);
    infoBrowser->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    infoBrowser->viewport()->setAutoFillBackground(false);
    infoBrowser->document()->setDefaultStyleSheet(loadStyleSheet("textbrowser-links.qss"));
    infoBrowser->setStyleSheet(loadStyleSheet("textbrowser.qss"));
    infoBrowser->setHtml(QStringLiteral("<p>Loading launcher package configuration\u2026</p>"));

    auto* layout = new QVBoxLayout(hintGroup);
    layout->setContentsMargins(6, 2, 6, 6);
    layout->addWidget(infoBrowser);
}

void LauncherPage::buildMakerLogo()
{
    makerLogoLabel = new LinkLabel(this);
    makerLogoLabel->setObjectName(QStringLiteral("makerLogoLabel"));
    makerLogoLabel->setAccessibleName(QStringLiteral("Vornak web site"));
    makerLogoLabel->setTextFormat(Qt::RichText);
    makerLogoLabel->setTextInteractionFlags(Qt::LinksAccessibleByMouse |
                                            Qt::LinksAccessibleByKeyboard);
    makerLogoLabel->setOpenExternalLinks(true);
    makerLogoLabel->setAlignment(Qt::AlignCenter);
    const QPixmap picture(makerLogoFile);
    if (!picture.isNull())
        makerLogoLabel->setFixedSize(picture.size());
    m_makerLinkContent = picture.isNull() ? QStringLiteral("Vornak")
                                          : QStringLiteral("<img src=\"%1\">").arg(makerLogoFile);
    setMakerLink(buildvalues::websiteUrl());
}

void LauncherPage::setMakerLink(const QString& address)
{
    makerLogoLabel->setText(
        QStringLiteral("<a href=\"%1\">%2</a>").arg(address, m_makerLinkContent));
}

QLayout* LauncherPage::buildBottomRow()
{
    buildMakerLogo();
    revisionLabel =
        makeLabel("revisionLabel", "label-11.qss", Qt::AlignLeft | Qt::AlignVCenter, this);
    revisionLabel->setAccessibleDescription(QStringLiteral("Revision"));
    // A version without points is its own revision, and the links stay in the window.
    revisionLabel->setMaximumWidth(240);

    aboutLabel = new LinkLabel(this);
    setUpLabel(*aboutLabel, "aboutLabel", "label-11.qss", Qt::AlignRight | Qt::AlignVCenter);
    aboutLabel->setTextFormat(Qt::RichText);
    aboutLabel->setText(QStringLiteral(
        "<a href=\"about\" style=\"color: #909090; text-decoration: none;\">About</a>"));
    aboutLabel->setTextInteractionFlags(Qt::TextBrowserInteraction);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(12, 0, 12, 0);
    row->addWidget(revisionLabel, 0, Qt::AlignVCenter);
    row->addStretch(1);
    row->addWidget(makerLogoLabel, 0, Qt::AlignVCenter);
    row->addStretch(1);
    row->addWidget(aboutLabel, 0, Qt::AlignVCenter);
    return row;
}
