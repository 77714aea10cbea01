#include "launcher/StyleSheet.h"

#include <QFile>

QString loadStyleSheet(const char* name)
{
    QFile file(QLatin1StringView(":/styles/") + QLatin1StringView(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}
