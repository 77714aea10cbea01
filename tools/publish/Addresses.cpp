#include "publish/Addresses.h"

#include "package/SafeAddress.h"
#include "package/SafePath.h"
#include "package/Unpack.h"

#include <QUrl>

#include <algorithm>

namespace publish {

namespace {

constexpr qsizetype plainLength = 64;
constexpr qsizetype shortHashLength = 16;

bool isPlain(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'.' || unit == u'-' || unit == u'_';
}

bool isAddressCharacter(QChar character)
{
    static constexpr QStringView refused = u"%#?\\\"<>^`{|} ";
    return character.unicode() > 0x20 && character.unicode() < 0x7f && !refused.contains(character);
}

} // namespace

namespace addresses {

QString segment(const QString& text)
{
    // A leading dot would hide the folder from web servers and could even lead out of it. The
    // content must also fit on a Windows machine, which has no folder "1." or "aux".
    if (text.size() <= plainLength && !text.startsWith(u'.') &&
        std::all_of(text.begin(), text.end(), isPlain) &&
        staysBelowFolder(text, PathRules::Windows))
        return text;
    QString name = text.left(plainLength - shortHashLength - 1);
    std::replace_if(
        name.begin(), name.end(), [](QChar character) { return !isPlain(character); }, QChar(u'_'));
    if (name.startsWith(u'.'))
        name[0] = u'_';
    // "aux.txt" is as much of a device as "aux".
    if (!staysBelowFolder(name + u'~', PathRules::Windows))
        name.replace(u'.', u'_');
    return name + u'~' + hashBytes(text.toUtf8()).first(shortHashLength);
}

QString packedFile(const QString& packedhash)
{
    return packedFiles + packedhash.first(2) + u'/' + packedhash + QLatin1StringView(".lzma");
}

QString relativeTo(const QString& address, const QString& from)
{
    qsizetype common = 0;
    for (qsizetype i = 0; i < std::min(address.size(), from.size()) && address.at(i) == from.at(i);
         ++i) {
        if (address.at(i) == u'/')
            common = i + 1;
    }
    return QStringLiteral("../").repeated(QStringView(from).sliced(common).count(u'/')) +
           address.sliced(common);
}

QString onServer(const QString& address)
{
    // The documents of channels name it without a slash.
    return launcherPart(u'/' + QUrl(address, QUrl::TolerantMode).path(QUrl::FullyDecoded));
}

QString folderOf(const QString& address)
{
    return address.first(address.lastIndexOf(u'/') + 1);
}

QString prefixOf(const QString& address)
{
    const QString part = launcherPart(address);
    return part.isEmpty() ? QString() : address.chopped(part.size());
}

QString publicUrlFault(const QString& url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    if (!isWebAddress(parsed) || parsed.host().isEmpty())
        return QStringLiteral("'%1' is not an http or https address").arg(url);
    if (!std::all_of(url.begin(), url.end(), isAddressCharacter))
        return QStringLiteral("the public address may hold only plain ASCII without '%', '#', '?'");
    if (!launcherPart(parsed.path() + u'/').isEmpty())
        return QStringLiteral("the public address must not itself hold \"/launcher/\"");
    return {};
}

} // namespace addresses

} // namespace publish
