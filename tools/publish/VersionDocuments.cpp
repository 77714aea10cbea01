#include "publish/VersionDocuments.h"

#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/ContentFolder.h"
#include "publish/PackStore.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray assetListBytes(const QList<OrlFile>& files)
{
    OrlPackageDoc doc;
    doc.files = files;
    const QJsonObject whole = QJsonDocument::fromJson(serializePackageDoc(doc)).object();
    const QString key = QStringLiteral("files");
    return QJsonDocument(QJsonObject{{key, whole.value(key)}}).toJson(QJsonDocument::Compact);
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
                        packed.unpackedhash, packed.unpackedsize});
    }
    return entries;
}

bool writeVersionFolder(ContentFolder& tree, const QString& folder, const OrlPackageDoc& doc,
                        const QList<OrlFile>& assets, const QString& served, QString* error)
{
    const QString work = tree.workPath();
    QDir().mkpath(work);
    const auto put = [&work, error](QLatin1StringView name, const QByteArray& bytes) {
        return writeFile(work + u'/' + name, bytes, true, error);
    };
    if (!put(addresses::packageDocument, serializePackageDoc(doc)) ||
        !put(addresses::versionText, doc.version.toUtf8()))
        return false;
    if (!assets.isEmpty()) {
        const QByteArray list = assetListBytes(assets);
        if (!put(addresses::assetList, list) ||
            !put(addresses::assetsIdentity, assetsidentity::next(list, served).toLatin1()))
            return false;
    }
    QDir(tree.path(folder)).removeRecursively();
    return tree.moveIntoPlace(work, folder, error);
}
