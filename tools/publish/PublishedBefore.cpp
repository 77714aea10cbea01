#include "publish/PublishedBefore.h"

#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/InputFolder.h"
#include "publish/PackStore.h"
#include "publish/WrittenNotes.h"

namespace publish {

namespace {

bool isSame(const QList<OrlFile>& published, const QList<InputFile>& files,
            const QStringList& hashes)
{
    if (published.size() != files.size())
        return false;
    for (qsizetype i = 0; i < published.size(); ++i) {
        if (published.at(i).localfile != files.at(i).localfile ||
            published.at(i).unpackedhash != hashes.at(i))
            return false;
    }
    return true;
}

} // namespace

std::optional<PublishedBefore>
PublishedBefore::read(const ContentFolder& tree, const WrittenNotes& notes, const QString& folder)
{
    const QString document = folder + addresses::packageDocument;
    const QString list = folder + addresses::assetList;
    if (!tree.exists(document) && notes.hash(document).isEmpty())
        return std::nullopt;
    PublishedBefore before;
    QString fault;
    const QByteArray documentBytes = tree.read(document);
    before.m_package = parsePackageDoc(documentBytes, &fault);
    before.m_isPackageWhole = fault.isEmpty() && !before.m_package.files.isEmpty() &&
                              !notes.isDamage(document, documentBytes);
    fault.clear();
    const QByteArray listBytes = tree.read(list);
    before.m_assets = parseAssetList(listBytes, &fault);
    const bool hasNone = !tree.exists(list) && notes.hash(list).isEmpty() &&
                         !tree.exists(folder + addresses::assetsIdentity);
    before.m_isListWhole = hasNone || (fault.isEmpty() && !before.m_assets.isEmpty() &&
                                       !notes.isDamage(list, listBytes));
    return before;
}

bool PublishedBefore::canBe(const OrlPackageDoc& doc, qsizetype count,
                            const QList<InputFile>& files, const QStringList& hashes) const
{
    const bool isPackage = m_package.executable == doc.executable &&
                           m_package.generation == doc.generation &&
                           isSame(m_package.files, files.first(count), hashes.first(count));
    const bool isList = isSame(m_assets, files.sliced(count), hashes.sliced(count));
    return (isPackage || !m_isPackageWhole) && (isList || !m_isListWhole);
}

QString PublishedBefore::mendingFault(qsizetype count, const QStringList& hashes,
                                      const PackStore& store) const
{
    QList<OrlFile> published;
    QStringList contents;
    if (m_isPackageWhole) {
        published += m_package.files;
        contents += hashes.first(count);
    }
    if (m_isListWhole) {
        published += m_assets;
        contents += hashes.sliced(count);
    }
    for (qsizetype i = 0; i < published.size(); ++i) {
        if (published.at(i).packedhash != store.packed(contents.at(i)).packedhash)
            return QStringLiteral("%1: its packed file was damaged, and packing at this --level "
                                  "does not mend it; give a new version")
                .arg(published.at(i).localfile);
    }
    return {};
}

} // namespace publish
