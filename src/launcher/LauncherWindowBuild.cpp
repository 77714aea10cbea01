#include "launcher/LauncherWindow.h"
#include "launcher/StyleSheet.h"
#include "shared/BuildValues.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QCheckBox>
#include <QFile>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStackedLayout>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

QLabel* makeLabel(const char* name, const char* styleSheet, Qt::Alignment alignment)
{
    auto* label = new QLabel;
    label->setObjectName(QLatin1StringView(name));
    label->setStyleSheet(loadStyleSheet(styleSheet));
    label->setAlignment(alignment);
    return label;
}

QString licenceText()
{
    QFile file(QStringLiteral(":/documents/quelra-eula.md"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void LauncherWindow::buildLogo()
{
    logoLabel = new QLabel;
    logoLabel->setObjectName(QStringLiteral("logoLabel"));
    logoLabel->setAlignment(Qt::AlignCenter);
    // The name of the game is painted on the background; the label only keeps its place.
    logoLabel->setAccessibleName(QStringLiteral("Quelra"));
    setLogo(Classic);
}

void LauncherWindow::buildMainButton()
{
    mainButton = new QPushButton;
    mainButton->setObjectName(QStringLiteral("mainButton"));
    const QPixmap picture(QStringLiteral(":/images/launcher/Button_Blue_idle.png"));
    mainButton->setFixedSize(picture.isNull() ? QSize(150, 37) : picture.size());
    mainButton->setCursor(Qt::PointingHandCursor);
    mainButton->setFocusPolicy(Qt::NoFocus);
}

void LauncherWindow::buildPackageWidgets()
{
    progressBar = new QProgressBar;
    progressBar->setObjectName(QStringLiteral("progressBar"));
    progressBar->setAccessibleName(QStringLiteral("Update progress"));
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    progressBar->setTextVisible(true);
    progressBar->setStyleSheet(loadStyleSheet("progress.qss"));
    progressBar->hide();

    versionLabel = makeLabel("versionLabel", "label-13.qss", Qt::AlignCenter);
    versionLabel->setWordWrap(false);
    versionLabel->setMinimumHeight(16);
    versionLabel->setAccessibleDescription(QStringLiteral("Client version"));

    statusLabel = makeLabel("statusLabel", "label-13.qss", Qt::AlignCenter);
    statusLabel->setWordWrap(true);
    statusLabel->setAccessibleDescription(QStringLiteral("Status"));

    defaultClientCheckBox = new QCheckBox(QStringLiteral("Default Client"));
    defaultClientCheckBox->setObjectName(QStringLiteral("defaultClientCheckBox"));
    defaultClientCheckBox->setChecked(
        QSettings().value(QStringLiteral("defaultClient"), true).toBool());
    defaultClientCheckBox->setStyleSheet(loadStyleSheet("checkbox.qss"));
    connect(defaultClientCheckBox, &QCheckBox::toggled, this,
            [](bool checked) { QSettings().setValue(QStringLiteral("defaultClient"), checked); });
}

void LauncherWindow::buildPackageGroup()
{
    packageGroup = new QGroupBox;
    packageGroup->setObjectName(QStringLiteral("packageGroup"));
    packageGroup->setAlignment(Qt::AlignHCenter);
    packageGroup->setStyleSheet(loadStyleSheet("package-group.qss"));
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

QLayout* LauncherWindow::buildTopRow()
{
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

void LauncherWindow::buildHintGroup()
{
    infoBrowser = new shared::QTextBrowserWithNetwork;
    infoBrowser->setObjectName(QStringLiteral("infoBrowser"));
    infoBrowser->setOpenExternalLinks(true);
    infoBrowser->setContextMenuPolicy(Qt::NoContextMenu);
    infoBrowser->setFixedSize(542, 110);
    infoBrowser->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    infoBrowser->viewport()->setAutoFillBackground(false);
    infoBrowser->document()->setDefaultStyleSheet(loadStyleSheet("textbrowser-links.qss"));
    infoBrowser->setStyleSheet(loadStyleSheet("textbrowser.qss"));
    infoBrowser->setHtml(QStringLiteral("<p>Loading launcher package configuration\u2026</p>"));

    hintGroup = new QGroupBox(QStringLiteral("Hint"));
    hintGroup->setObjectName(QStringLiteral("hintGroup"));
    hintGroup->setAlignment(Qt::AlignHCenter);
    hintGroup->setStyleSheet(loadStyleSheet("hint-group.qss"));
    hintGroup->setFixedWidth(560);
    auto* layout = new QVBoxLayout(hintGroup);
    layout->setContentsMargins(6, 2, 6, 6);
    layout->addWidget(infoBrowser);
}

void LauncherWindow::buildMakerLogo()
{
    makerLogoLabel = new QLabel;
    makerLogoLabel->setObjectName(QStringLiteral("makerLogoLabel"));
    makerLogoLabel->setAccessibleName(QStringLiteral("Vornak web site"));
    makerLogoLabel->setTextFormat(Qt::RichText);
    makerLogoLabel->setTextInteractionFlags(Qt::LinksAccessibleByMouse |
                                            Qt::LinksAccessibleByKeyboard);
    makerLogoLabel->setOpenExternalLinks(true);
    makerLogoLabel->setAlignment(Qt::AlignCenter);
    const QString file = QStringLiteral(":/images/launcher/OrlenvikLogo.png");
    const QPixmap picture(file);
    QString content = QStringLiteral("Vornak");
    if (!picture.isNull()) {
        makerLogoLabel->setFixedSize(picture.size());
        content = QStringLiteral("<img src=\"%1\">").arg(file);
    }
    makerLogoLabel->setText(
        QStringLiteral("<a href=\"%1\">%2</a>").arg(buildvalues::websiteUrl(), content));
}

QLayout* LauncherWindow::buildBottomRow()
{
    revisionLabel = makeLabel("revisionLabel", "label-11.qss", Qt::AlignLeft | Qt::AlignVCenter);
    revisionLabel->setAccessibleDescription(QStringLiteral("Revision"));

    auto* aboutLabel = makeLabel("aboutLabel", "label-11.qss", Qt::AlignRight | Qt::AlignVCenter);
    aboutLabel->setTextFormat(Qt::RichText);
    aboutLabel->setText(QStringLiteral(
        "<a href=\"about\" style=\"color: #909090; text-decoration: none;\">About</a>"));
    aboutLabel->setTextInteractionFlags(Qt::TextBrowserInteraction);
    connect(aboutLabel, &QLabel::linkActivated, this, [this] { showAbout(); });

    auto* row = new QHBoxLayout;
    row->setContentsMargins(12, 0, 12, 0);
    row->addWidget(revisionLabel, 0, Qt::AlignVCenter);
    row->addStretch(1);
    row->addWidget(makerLogoLabel, 0, Qt::AlignVCenter);
    row->addStretch(1);
    row->addWidget(aboutLabel, 0, Qt::AlignVCenter);
    return row;
}

QWidget* LauncherWindow::buildLauncherPage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addSpacing(11);
    layout->addLayout(buildTopRow());
    layout->addSpacing(6);
    layout->addWidget(hintGroup, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    layout->addSpacing(8);
    layout->addLayout(buildBottomRow());
    layout->addSpacing(8);
    return page;
}

QWidget* LauncherWindow::buildLicencePage(const QString& licence)
{
    auto* eulaEdit = new QTextEdit;
    eulaEdit->setObjectName(QStringLiteral("eulaEdit"));
    eulaEdit->setAccessibleName(QStringLiteral("Licence agreement"));
    eulaEdit->setReadOnly(true);
    eulaEdit->setWordWrapMode(QTextOption::WordWrap);
    eulaEdit->setFixedHeight(330);
    eulaEdit->setStyleSheet(loadStyleSheet("textedit.qss"));
    eulaEdit->setMarkdown(licence);

    auto* acceptButton = new QPushButton(QStringLiteral("Accept"));
    acceptButton->setObjectName(QStringLiteral("acceptButton"));
    connect(acceptButton, &QPushButton::clicked, this, [this] { acceptLicence(); });

    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addSpacing(11);
    layout->addWidget(eulaEdit);
    layout->addWidget(acceptButton, 0, Qt::AlignHCenter);
    return page;
}

void LauncherWindow::buildPages()
{
    // The stack shows its current page at once: without a place in the window already, each page
    // would come up as a window of its own for a moment.
    auto* layout = new QVBoxLayout(centralWidget());
    layout->setContentsMargins(0, 0, 0, 0);
    pageStack = new QStackedLayout(layout);
    pageStack->setObjectName(QStringLiteral("pageStack"));
    QWidget* launcherPage = buildLauncherPage();
    const QString licence = licenceText();
    pageStack->addWidget(buildLicencePage(licence));
    pageStack->addWidget(launcherPage);
    // A build without a licence document has nothing to accept.
    const bool accepted = QSettings().value(QStringLiteral("eulaAccepted")).toBool();
    pageStack->setCurrentIndex(accepted || licence.isEmpty() ? 1 : 0);
}
