#include "launcher/MainButtonStyle.h"

QString mainButtonStyle(const QString& colour, const QString& icon)
{
    const QString iconCss =
        icon.isEmpty() ? QString()
                       : QStringLiteral("image: url(:/images/launcher/Icon_%1.png);").arg(icon);
    return QStringLiteral(
               "QPushButton { background-image: url(:/images/launcher/Button_%1_idle.png); %2 "
               "border: none; }QPushButton:hover { background-image: "
               "url(:/images/launcher/Button_%1_hover.png); }QPushButton:pressed { "
               "background-image: url(:/images/launcher/Button_%1_pressed.png); padding-top: 1px; "
               "padding-left: 1px; padding-bottom: -1px; padding-right: -1px; "
               "}QPushButton:disabled { background-image: "
               "url(:/images/launcher/Button_%1_idle.png); }")
        .arg(colour, iconCss);
}
