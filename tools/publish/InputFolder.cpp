#include "publish/InputFolder.h"

#include "publish/EntryFacts.h"
#include "publish/Limits.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace publish {

namespace {

/// One walk through a folder.
class Walk
{
public:
    explicit Walk(const QString& root)
        : m_root(entryFacts(QFileInfo(root)).finalPath)
    {}

    InputFolder run(const QString& given)
    {
        if (m_root.isEmpty() || !QFileInfo(m_root).isDir())
            m_found.faults.append(QStringLiteral("%1: no such folder").arg(given));
        else
            visit(m_root, QString(), {m_root});
        // By bytes, so that neither locale nor file system decides the order of a document.
        std::sort(m_found.files.begin(), m_found.files.end(),
                  [](const InputFile& a, const InputFile& b) {
                      return a.localfile.toUtf8() < b.localfile.toUtf8();
                  });
        m_found.faults.sort();
        return std::move(m_found);
    }

private:
    void visit(const QString& folder, const QString& prefix, const QStringList& ancestors)
    {
        const QDir dir(folder);
        if (!entryFacts(QFileInfo(folder)).isReadable) {
            addFault(prefix.chopped(1), "the folder cannot be read");
            return;
        }
        const FolderNames found = namesIn(folder);
        for (const QString& name : found.undecodable)
            addFault(prefix + name, "the name is not UTF-8");
        for (const QString& name : found.names)
            visitEntry(QFileInfo(dir.filePath(name)), prefix + name, ancestors);
    }

    void visitEntry(const QFileInfo& entry, const QString& name, const QStringList& ancestors)
    {
        const EntryFacts facts = entryFacts(entry);
        const QString& target = facts.finalPath;
        if (target.isEmpty()) {
            addFault(name, entry.isSymLink()
                               ? "the link leads nowhere"
                               : "the file cannot be found again; is its name UTF-8?");
        } else if (!liesIn(target, m_root)) {
            addFault(name, "the link leaves the folder");
        } else if (facts.kind == EntryFacts::Kind::Folder) {
            if (ancestors.contains(target))
                addFault(name, "the link leads in a circle");
            else
                visit(target, name + u'/', ancestors + QStringList(target));
        } else if (facts.kind != EntryFacts::Kind::File) {
            addFault(name, "neither a file nor a folder");
        } else if (!facts.isReadable) {
            addFault(name, "the file cannot be read");
        } else if (facts.size >= limits::fileSize) {
            addFault(name, "2 GiB or more; the launcher cannot unpack it");
        } else {
            m_found.files.append({target, name, facts.size});
        }
    }

    void addFault(const QString& name, const char* text)
    {
        m_found.faults.append(name + QLatin1StringView(": ") + QLatin1StringView(text));
    }

    QString m_root;
    InputFolder m_found;
};

} // namespace

bool liesIn(const QString& path, const QString& folder)
{
    return path == folder || path.startsWith(folder.endsWith(u'/') ? folder : folder + u'/');
}

InputFolder readInputFolder(const QString& folder)
{
    return Walk(folder).run(folder);
}

QList<qsizetype> largestFirst(QList<qsizetype> indexes, const QList<InputFile>& files)
{
    std::stable_sort(indexes.begin(), indexes.end(), [&files](qsizetype a, qsizetype b) {
        return files.at(a).size > files.at(b).size;
    });
    return indexes;
}

qint64 totalSize(const QList<qsizetype>& indexes, const QList<InputFile>& files)
{
    return std::accumulate(
        indexes.begin(), indexes.end(), qint64(0),
        [&files](qint64 sum, qsizetype index) { return sum + files.at(index).size; });
}

} // namespace publish
