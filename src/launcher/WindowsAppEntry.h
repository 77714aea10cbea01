#pragma once

/// On Windows only: when this program was installed by its installer, the entry in "Installed apps"
/// (HKCU, where the installer wrote it) shows the running version from now on. A launcher that has
/// replaced itself would leave the version that was once installed there. Without such an entry, or
/// with one of a launcher in another folder, nothing is written.
void updateWindowsAppEntry();
