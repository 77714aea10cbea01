#include "package/Utf8Locale.h"

#ifdef Q_OS_UNIX
#include <clocale>
#include <langinfo.h>
#endif

Utf8Locale::Utf8Locale()
{
#ifdef Q_OS_UNIX
    std::setlocale(LC_ALL, "");
    if (qstricmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    // LC_ALL decides over all others, when it is set.
    m_variable = qEnvironmentVariableIsEmpty("LC_ALL") ? "LC_CTYPE" : "LC_ALL";
    m_before = qgetenv(m_variable);
    qputenv(m_variable, "C.UTF-8");
#endif
}

void Utf8Locale::restoreEnvironment()
{
    if (!m_variable)
        return;
    if (m_before.isNull())
        qunsetenv(m_variable);
    else
        qputenv(m_variable, m_before);
    m_variable = nullptr;
}
