#include "publish/NameRules.h"

#include "package/ReplacementNames.h"
#include "package/SafePath.h"
#include "publish/InputFolder.h"
#include "publish/Limits.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <array>

namespace publish {

namespace {

// Beside such a file the launcher could not write the one that it is named after, and would clear
// it up as a leftover of its own.
bool isReplacementName(const QString& path)
{
    const QString name = path.toLower();
    return name.contains(QLatin1StringView(VORNAK_FRESH_SUFFIX)) ||
           name.contains(QLatin1StringView(VORNAK_ASIDE_SUFFIX));
}

// Says which of the rules of staysBelowFolder() a path broke.
QString windowsFault(const QString& path)
{
    for (const QStringView segment : QStringView(path).split(u'/')) {
        if (losesItsEndOnWindows(segment))
            return QStringLiteral("Windows drops the dot or blank at the end of a name");
        for (const QChar character : segment) {
            if (character.unicode() < 0x20)
                return QStringLiteral("Windows forbids control characters in a name");
            if (isForbiddenOnWindows(character))
                return QStringLiteral("Windows forbids '%1' in a name").arg(character);
        }
    }
    return QStringLiteral("the name is reserved on Windows");
}

QString pathFault(const QString& path, const QString& directory)
{
    // A document could name only another one.
    if (!path.isValidUtf16())
        return QStringLiteral("the name is not valid Unicode");
    if (!staysBelowFolder(path, PathRules::Windows))
        return windowsFault(path);
    if (namesMarker(path, PathRules::Windows) || isReplacementName(path))
        return QStringLiteral("the launcher keeps this name for itself");
    const qsizetype length = directory.size() + 1 + path.size();
    if (length > limits::pathLength)
        return QStringLiteral("the path has %1 characters with the package folder, over %2")
            .arg(length)
            .arg(limits::pathLength);
    return {};
}

/// Finds paths of which Windows could keep only one.
class CollisionFinder
{
public:
    /// The line about `path` when it collides with an earlier one, else empty.
    QString add(const QString& path)
    {
        // Folders count too: two spellings of one folder become one on Windows.
        for (qsizetype end = path.indexOf(u'/'); end >= 0; end = path.indexOf(u'/', end + 1)) {
            const QString folder = path.first(end);
            const QString fault = addName(folder, false);
            if (!fault.isEmpty())
                return fault;
        }
        return addName(path, true);
    }

private:
    struct Seen
    {
        QString name;
        bool isFile = false;
    };

    QString addName(const QString& name, bool isFile)
    {
        const auto [place, isNew] = insert(name, isFile);
        if (isNew || (!isFile && !place.isFile && place.name == name))
            return {};
        if (place.name != name)
            return QStringLiteral("%1: differs from %2 in case only").arg(name, place.name);
        return isFile && place.isFile
                   ? QStringLiteral("%1: there are two files of this name").arg(name)
                   : QStringLiteral("%1: both a file and a folder").arg(name);
    }

    std::pair<Seen, bool> insert(const QString& name, bool isFile)
    {
        const QString key = comparedName(name);
        const auto found = m_seen.constFind(key);
        if (found != m_seen.constEnd())
            return {*found, false};
        m_seen.insert(key, {name, isFile});
        return {{name, isFile}, true};
    }

    QHash<QString, Seen> m_seen;
};

} // namespace

// NTFS compares names unit by unit in upper case; full case folding would equate more than it does.
QString comparedName(const QString& name)
{
    QString upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](QChar character) { return character.toUpper(); });
    return upper;
}

QStringList pathFaults(const QStringList& paths, const QString& directory)
{
    QStringList faults;
    CollisionFinder collisions;
    for (const QString& path : paths) {
        const QString fault = pathFault(path, directory);
        if (!fault.isEmpty())
            faults.append(path + QLatin1StringView(": ") + fault);
        const QString collision = collisions.add(path);
        if (!collision.isEmpty() && !faults.contains(collision))
            faults.append(collision);
    }
    return faults;
}

QStringList nameFaults(const QList<InputFile>& files, const QString& directory)
{
    QStringList paths;
    paths.reserve(files.size());
    for (const InputFile& file : files)
        paths.append(file.localfile);
    return pathFaults(paths, directory);
}

QString versionFault(const QString& version)
{
    if (version.isEmpty())
        return QStringLiteral("the version text is empty");
    if (version != version.trimmed())
        return QStringLiteral("the version text '%1' has blanks at its ends").arg(version);
    if (std::any_of(version.begin(), version.end(),
                    [](QChar character) { return character.category() == QChar::Other_Control; }))
        return QStringLiteral("the version text has control characters");
    return {};
}

QString directoryFault(const QString& directory)
{
    if (directory.contains(u'/') || !staysBelowFolder(directory, PathRules::Windows) ||
        directory == QLatin1StringView("."))
        return QStringLiteral("'%1' cannot be a folder's name on Windows").arg(directory);
    return {};
}

} // namespace publish
