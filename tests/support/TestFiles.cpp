#include "support/TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <array>

void testfiles::write(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write %s: %s", qUtf8Printable(path), qUtf8Printable(file.errorString()));
}

void testfiles::writeHole(const QString& path, qint64 size)
{
    write(path, {});
    if (!QFile::resize(path, size))
        qFatal("Cannot give %s its size", qUtf8Printable(path));
}

QByteArray testfiles::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

QStringList testfiles::list(const QString& folder)
{
    QStringList paths;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        paths.append(QDir(folder).relativeFilePath(entries.next()));
    std::sort(paths.begin(), paths.end());
    return paths;
}

QStringList testfiles::names(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

QByteArray testfiles::randomBytes(qsizetype size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(),
                  [&generator] { return static_cast<char>(generator.generate() & 0xff); });
    return bytes;
}

QByteArray testfiles::textBytes(qsizetype size, quint32 seed)
{
    static constexpr std::array words{"ford ", "hearth ", "lantern ", "mill ", "north ", "reed\n"};
    QRandomGenerator generator(seed);
    QByteArray bytes;
    bytes.reserve(size + 16);
    while (bytes.size() < size)
        bytes += words.at(generator.bounded(static_cast<quint32>(words.size())));
    bytes.truncate(size);
    return bytes;
}
