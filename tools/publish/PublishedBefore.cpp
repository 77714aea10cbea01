#include "publish/PublishedBefore.h"

#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/InputFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/PackStore.h"
#include "publish/UsedVersions.h"
#include "publish/WrittenNotes.h"

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

QString versionNameFault(const QString& version, const QStringList& others)
{
    for (const QString& other : others) {
        // On Windows both would have one folder.
        if (other != version && other.compare(version, Qt::CaseInsensitive) == 0)
            return QStringLiteral("version %1 differs from version %2 in case only")
                .arg(version, other);
    }
    return {};
}

QString productNameFault(const Product& product, const Platform& platform,
                         const MetadataDocument& metadata)
{
    const auto fault = [](const QString& name, const QString& other) {
        return QStringLiteral("%1 differs from %2 in case only; Windows has one folder for both")
            .arg(name, other);
    };
    for (const Product& other : metadata.products()) {
        if (!product.isLauncher && !other.isLauncher && other != product &&
            !metadata.hasProduct(product) &&
            comparedName(other.directory) == comparedName(product.directory))
            return fault(QStringLiteral("the package ") + product.directory,
                         QStringLiteral("the package ") + other.directory);
    }
    const QList<Platform> known = metadata.publishedPlatforms(product);
    for (const Platform& other : known) {
        if (!known.contains(platform) &&
            comparedName(other.folderName()) == comparedName(platform.folderName()))
            return fault(
                QStringLiteral("the platform '%1' '%2'").arg(platform.os, platform.architecture),
                QStringLiteral("'%1' '%2', which was published before,")
                    .arg(other.os, other.architecture));
    }
    return {};
}

QString removedBuildFault(const UsedVersions& used, const QString& buildFolder,
                          const Product& product, const QString& version)
{
    const auto removed = used.removed(buildFolder);
    if (!removed)
        return {};
    return QStringLiteral("version %1 of %2 was removed on %3, and caches may hold its documents "
                          "until %4; give another version")
        .arg(version, product.label(), removed->date().toString(Qt::ISODate),
             UsedVersions::heldUntil(*removed).date().toString(Qt::ISODate));
}

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
