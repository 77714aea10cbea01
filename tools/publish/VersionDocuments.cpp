#include "publish/VersionDocuments.h"

#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/ContentFolder.h"
#include "publish/FileWriting.h"
#include "publish/InputFolder.h"
#include "publish/PackStore.h"
#include "publish/WrittenNotes.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

namespace publish {

namespace {

QByteArray assetListBytes(const QList<OrlFile>& files)
{
    OrlPackageDoc doc;
    doc.files = files;
    const QJsonObject whole = QJsonDocument::fromJson(serializePackageDoc(doc)).object();
    const QString key = QStringLiteral("files");
    return QJsonDocument(QJsonObject{{key, whole.value(key)}}).toJson(QJsonDocument::Compact);
}

struct Document
{
    QLatin1StringView name;
    QByteArray bytes;
};

QList<Document> documentsOf(const OrlPackageDoc& doc, const QList<OrlFile>& assets)
{
    QList<Document> documents{{addresses::packageDocument, serializePackageDoc(doc)},
                              {addresses::versionText, doc.version.toUtf8()}};
    if (!assets.isEmpty())
        documents.append({addresses::assetList, assetListBytes(assets)});
    return documents;
}

// Other publishers may have written the same in another way.
bool meansTheSame(QLatin1StringView name, const QByteArray& a, const QByteArray& b)
{
    if (name == addresses::versionText)
        return a.trimmed() == b.trimmed();
    return name == addresses::assetList
               ? parseAssetList(a, nullptr) == parseAssetList(b, nullptr)
               : parsePackageDoc(a, nullptr) == parsePackageDoc(b, nullptr);
}

} // namespace

QList<OrlFile> fileEntries(const QList<InputFile>& files, const QStringList& hashes,
                           const PackStore& store, const QString& folder)
{
    QList<OrlFile> entries;
    entries.reserve(files.size());
    for (qsizetype i = 0; i < files.size(); ++i) {
        const PackedFile packed = store.packed(hashes.at(i));
        entries.append({addresses::relativeTo(addresses::packedFile(packed.packedhash), folder),
                        files.at(i).localfile, packed.packedhash, packed.packedsize,
                        packed.unpackedhash, files.at(i).size});
    }
    return entries;
}

QList<OrlFile> comparableFiles(const QList<InputFile>& files, const QStringList& hashes,
                               const PackStore& store)
{
    QList<OrlFile> comparable;
    comparable.reserve(files.size());
    for (qsizetype i = 0; i < files.size(); ++i) {
        OrlFile file;
        file.localfile = files.at(i).localfile;
        file.unpackedhash = hashes.at(i);
        const PackedFile packed = store.packed(file.unpackedhash);
        file.packedsize = packed.packedhash.isEmpty() ? files.at(i).size : packed.packedsize;
        comparable.append(file);
    }
    return comparable;
}

bool writeVersionFolder(ContentFolder& tree, WrittenNotes& notes, const QString& folder,
                        const OrlPackageDoc& doc, const QList<OrlFile>& assets,
                        const QString& served, QString* error)
{
    const QString work = tree.workPath();
    if (!makeFolder(work, error))
        return false;
    const auto put = [&work, error](QLatin1StringView name, const QByteArray& bytes) {
        return writeFile(work + u'/' + name, bytes, true, error);
    };
    for (const Document& document : documentsOf(doc, assets)) {
        if (!put(document.name, document.bytes))
            return false;
        notes.note(folder + document.name, document.bytes);
    }
    if (!assets.isEmpty() && !put(addresses::assetsIdentity,
                                  assetsidentity::next(assetListBytes(assets), served).toLatin1()))
        return false;
    QDir(tree.path(folder)).removeRecursively();
    return tree.moveIntoPlace(work, folder, error);
}

bool mendVersionFolder(ContentFolder& tree, WrittenNotes& notes, const QString& folder,
                       const OrlPackageDoc& doc, const QList<OrlFile>& assets, int& mended,
                       QString* error)
{
    for (const Document& document : documentsOf(doc, assets)) {
        const QString address = folder + document.name;
        const QByteArray present = tree.read(address);
        const bool isNoted = !notes.hash(address).isEmpty();
        const bool isWhole = isNoted ? !notes.isDamage(address, present)
                                     : meansTheSame(document.name, present, document.bytes);
        if (!isWhole && notes.isDamage(address, document.bytes)) {
            *error = QStringLiteral("%1 is damaged, and what is given now is not what it was made "
                                    "from; give the same input, options and --level, or a new "
                                    "version")
                         .arg(tree.path(address));
            return false;
        }
        if (!isWhole && !tree.replace(address, document.bytes, error))
            return false;
        mended += isWhole ? 0 : 1;
        notes.note(address, isWhole ? present : document.bytes);
    }
    return true;
}

} // namespace publish
