#include "launcher/DuskPalette.h"

QPalette duskPalette()
{
    const QColor ground(0x1b, 0x18, 0x22);
    const QColor raised(0x34, 0x2d, 0x3c);
    const QColor text(0xdf, 0xdf, 0xdf);
    const QColor muted(0x90, 0x90, 0x90);
    const QColor ember(0xd9, 0x9a, 0x4e);

    QPalette palette(raised, ground);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Base, ground.darker(130));
    palette.setColor(QPalette::AlternateBase, ground.lighter(120));
    palette.setColor(QPalette::ToolTipBase, raised);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, muted);
    palette.setColor(QPalette::Highlight, ember);
    palette.setColor(QPalette::HighlightedText, ground);
    palette.setColor(QPalette::Link, ember);
    palette.setColor(QPalette::LinkVisited, ember.darker(120));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, muted);
    return palette;
}
