#include "support/IsolatedHome.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <array>

IsolatedHome::IsolatedHome()
{
    if (!m_folder.isValid())
        qFatal("No temporary folder: %s", qUtf8Printable(m_folder.errorString()));
    static constexpr std::array variables{"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                          "XDG_CACHE_HOME"};
    for (const char* variable : variables) {
        const QString folder = m_folder.filePath(QLatin1StringView(variable).toString().toLower());
        QDir().mkpath(folder);
        qputenv(variable, QFile::encodeName(folder));
    }
    // A folder that nobody else may read, or Qt makes one of its own among the temporary ones.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path()));
#ifndef Q_OS_WIN
    // The static Qt for Windows has one platform, Windows itself.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
}
