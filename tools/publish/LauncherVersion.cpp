#include "publish/LauncherVersion.h"

#include "package/VersionMark.h"

#include <QFile>
#include <QStringList>

namespace publish {

namespace {

constexpr qint64 slice = 0x100000;
// With the version: longer than any that somebody would give.
constexpr qsizetype longestMark = 1024;

// The versions that stand marked in the bytes; one whose end is not there does not count.
void collect(const QByteArray& bytes, QStringList& versions)
{
    const QByteArrayView mark(VORNAK_VERSION_MARK);
    for (qsizetype at = bytes.indexOf(mark); at >= 0; at = bytes.indexOf(mark, at + 1)) {
        const qsizetype start = at + mark.size();
        const qsizetype end = bytes.indexOf(VORNAK_VERSION_MARK_END, start);
        if (end < 0 || end - at >= longestMark)
            continue;
        const QString version = QString::fromUtf8(bytes.sliced(start, end - start));
        if (!versions.contains(version))
            versions.append(version);
    }
}

QStringList markedVersions(const QString& program)
{
    QStringList versions;
    QFile file(program);
    if (!file.open(QIODevice::ReadOnly))
        return versions;
    QByteArray window;
    while (!file.atEnd()) {
        const QByteArray next = file.read(slice);
        if (next.isEmpty())
            break;
        // The end of the last slice comes along, since a mark may lie across two.
        window = window.right(longestMark) + next;
        collect(window, versions);
    }
    return versions;
}

} // namespace

QString launcherVersionFault(const QString& program, const QString& version)
{
    const QStringList found = markedVersions(program);
    if (found.isEmpty())
        return QStringLiteral("the program carries no version; is it the launcher?");
    if (found.contains(QLatin1StringView("dev")))
        return QStringLiteral("this launcher was built with version dev, which never updates "
                              "itself; build it with version %1")
            .arg(version);
    if (found == QStringList(version))
        return {};
    return QStringLiteral("this launcher was built with version %1, not with %2")
        .arg(found.join(QLatin1StringView(" and ")), version);
}

} // namespace publish
