#include "launcher/WindowsAppEntry.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>

void updateWindowsAppEntry()
{
    // The name of the entry is the installer's (packaging/windows/installer.nsi). A QSettings on
    // the entry's own key would create the key if it is missing.
    QSettings entries(QStringLiteral("HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\"
                                     "CurrentVersion\\Uninstall"),
                      QSettings::NativeFormat);
    const QString folder =
        entries.value(QStringLiteral("VornakLauncher/InstallLocation")).toString();
    if (folder.isEmpty() || QFileInfo(folder) != QFileInfo(QCoreApplication::applicationDirPath()))
        return;
    const QString version = QStringLiteral("VornakLauncher/DisplayVersion");
    if (entries.value(version) != QCoreApplication::applicationVersion())
        entries.setValue(version, QCoreApplication::applicationVersion());
}
