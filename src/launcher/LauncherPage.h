#pragma once

#include <QString>
#include <QWidget>

class FittingLabel;
class LinkLabel;
class QCheckBox;
class QGroupBox;
class QLabel;
class QLayout;
class QProgressBar;
class QPushButton;

namespace shared {
class QTextBrowserWithNetwork;
}

/// The page that a player sees every day: button, progress, hint and links. Builds the widgets and
/// lays them out; what they show later and what a click does is the window's affair.
class LauncherPage : public QWidget
{
public:
    /// Pixels, on a screen that has room for them.
    static constexpr int hintHeight = 110;

    explicit LauncherPage(QWidget* parent);

    /// Where the maker's logo leads. An address in its encoded form.
    void setMakerLink(const QString& address);

    // The page's own, for the window to fill and to react to. The logo's label has no size yet.
    QLabel* logoLabel = nullptr;
    QGroupBox* packageGroup = nullptr;
    QPushButton* mainButton = nullptr;
    FittingLabel* versionLabel = nullptr;
    QCheckBox* defaultClientCheckBox = nullptr;
    QProgressBar* progressBar = nullptr;
    FittingLabel* statusLabel = nullptr;
    QGroupBox* hintGroup = nullptr;
    shared::QTextBrowserWithNetwork* infoBrowser = nullptr;
    QLabel* revisionLabel = nullptr;
    LinkLabel* makerLogoLabel = nullptr;
    LinkLabel* aboutLabel = nullptr;

private:
    QLayout* buildTopRow();
    void buildLogo();
    void buildPackageGroup();
    void buildMainButton();
    void buildPackageWidgets();
    void buildHintGroup();
    QLayout* buildBottomRow();
    void buildMakerLogo();

    // What the maker's link shows: the logo, or a word in a build without it.
    QString m_makerLinkContent;
};
