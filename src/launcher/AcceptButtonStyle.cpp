#include "launcher/AcceptButtonStyle.h"

// Slate in a bronze rim, like the panels. Under the pointer it is lit, pressed it sinks; the rim
// glows while the keyboard is on it. The letters keep a contrast of at least 6 : 1 throughout.
QString acceptButtonStyle()
{
    return QStringLiteral(
        "QPushButton { font-family: \"Verdana\"; font-size: 13px; font-weight: bold;"
        " color: #e8dec8; border: 2px solid #966e42; border-radius: 6px; padding: 5px 24px;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #3a3d4e, stop:1 #1e2130); }"
        "QPushButton:hover { border-color: #d6a862;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #4c4f62, stop:1 #2c3046); }"
        "QPushButton:focus { border-color: #ffc474; outline: none; }"
        "QPushButton:pressed { padding: 6px 23px 4px 25px;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #0e101a, stop:1 #1e2130); }");
}
