#include "package/SafePath.h"

#include "package/Markers.h"

#include <QDir>
#include <QStringTokenizer>

#include <algorithm>
#include <array>

namespace {

// Reserved in every folder and with any extension, see "Naming Files, Paths, and Namespaces" in the
// Windows documentation.
bool isDeviceName(QStringView segment)
{
    static constexpr std::array names{"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};
    const qsizetype dot = segment.indexOf(u'.');
    const QStringView stem = (dot < 0 ? segment : segment.first(dot)).trimmed();
    if (std::any_of(names.begin(), names.end(), [stem](const char* name) {
            return stem.compare(QLatin1StringView(name), Qt::CaseInsensitive) == 0;
        }))
        return true;
    // COM and LPT count with the digits 1 to 9, and with the superscripts that Windows takes for 1
    // to 3; 0 is refused with them, since documentation and practice differ.
    static constexpr QStringView digits = u"0123456789\u00b9\u00b2\u00b3";
    return stem.size() == 4 &&
           (stem.startsWith(QLatin1StringView("COM"), Qt::CaseInsensitive) ||
            stem.startsWith(QLatin1StringView("LPT"), Qt::CaseInsensitive)) &&
           digits.contains(stem.at(3));
}

bool isWindowsSegment(QStringView segment)
{
    return !losesItsEndOnWindows(segment) && !isDeviceName(segment) &&
           std::none_of(segment.begin(), segment.end(), isForbiddenOnWindows);
}

} // namespace

bool staysBelowFolder(const QString& relative, PathRules rules)
{
    if (relative.startsWith(u'/') || relative.contains(QChar(u'\0')))
        return false;
    bool named = false;
    for (const QStringView segment : qTokenize(QStringView(relative), u'/')) {
        if (segment == QLatin1StringView(".."))
            return false;
        if (segment.isEmpty() || segment == QLatin1StringView("."))
            continue;
        if (rules == PathRules::Windows && !isWindowsSegment(segment))
            return false;
        named = true;
    }
    return named;
}

bool isForbiddenOnWindows(QChar character)
{
    static constexpr QStringView forbidden = u"<>:\"|?*\\";
    return character.unicode() < 0x20 || forbidden.contains(character);
}

bool losesItsEndOnWindows(QStringView name)
{
    return name.endsWith(u'.') || name.endsWith(u' ');
}

bool namesMarker(const QString& relative, PathRules rules)
{
    static constexpr std::array names{markers::partialVersion, markers::packageDocument,
                                      markers::packageVersion, markers::assetsIdentity};
    const auto sensitivity = rules == PathRules::Windows ? Qt::CaseInsensitive : Qt::CaseSensitive;
    for (const QStringView segment : qTokenize(QStringView(relative), u'/')) {
        if (segment.isEmpty() || segment == QLatin1StringView("."))
            continue;
        return std::any_of(names.begin(), names.end(), [&](QLatin1StringView name) {
            return segment.compare(name, sensitivity) == 0;
        });
    }
    return false;
}

QString pathBelowFolder(const QString& folder, const QString& relative)
{
    if (folder.isEmpty() || !staysBelowFolder(relative))
        return {};
    // What QDir::filePath() gives; making a QDir for every file of a long list takes longer than
    // the check above.
    QString path = QDir::fromNativeSeparators(folder);
    path.reserve(path.size() + 1 + relative.size());
    if (!path.endsWith(u'/'))
        path += u'/';
    path += relative;
    return path;
}

QString pathOfListedFile(const QString& folder, const QString& relative)
{
    return namesMarker(relative) ? QString() : pathBelowFolder(folder, relative);
}
