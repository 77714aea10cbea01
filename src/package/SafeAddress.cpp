#include "package/SafeAddress.h"

bool isWebAddress(const QUrl& address)
{
    const QString scheme = address.scheme();
    return address.isValid() &&
           (scheme == QLatin1StringView("http") || scheme == QLatin1StringView("https"));
}

QString launcherPart(const QString& path)
{
    const qsizetype begin = path.indexOf(QLatin1StringView("/launcher/"));
    return begin < 0 ? QString() : path.sliced(begin);
}

bool leadsToAnotherMachine(const QUrl& address)
{
    if (!address.isLocalFile() && !address.scheme().isEmpty())
        return false;
    if (!address.host().isEmpty())
        return address.host() != QLatin1StringView("localhost");
    const QString path = address.path(QUrl::FullyDecoded);
    const auto isSlash = [](QChar character) { return character == u'/' || character == u'\\'; };
    return path.size() >= 2 && isSlash(path.at(0)) && isSlash(path.at(1));
}
