#pragma once

#include <QByteArray>

/// Gives the process a UTF-8 locale where the environment names another one, as cron's does: file
/// names and messages are UTF-8, and Qt writes four lines to standard error about any other locale.
/// Stands in `main` before the application object, which takes the locale from the environment.
/// Once that is made, restoreEnvironment() gives the variable back, so that child processes start
/// with what the user had. Does nothing on Windows, where Qt asks for no locale.
class Utf8Locale
{
public:
    Utf8Locale();
    void restoreEnvironment();

private:
    /// The variable that was set, null when none was.
    const char* m_variable = nullptr;
    /// What it was before; null when it did not exist.
    QByteArray m_before;
};
