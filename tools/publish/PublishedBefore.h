#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class ContentFolder;
class MetadataDocument;
class PackStore;
class UsedVersions;
class WrittenNotes;
struct InputFile;
struct Platform;
struct Product;

/// Why a version of this name cannot be published beside the others; empty when it can.
[[nodiscard]] QString versionNameFault(const QString& version, const QStringList& others);

/// Why a package, or a platform of it, that is new cannot be published beside those of the
/// metadata; empty when it can.
[[nodiscard]] QString productNameFault(const Product& product, const Platform& platform,
                                       const MetadataDocument& metadata);

/// Why the build cannot be published because another one of its version was there and has been
/// removed; empty when it can.
[[nodiscard]] QString removedBuildFault(const UsedVersions& used, const QString& buildFolder,
                                        const Product& product, const QString& version);

/// The documents of a build that was published before under the version's name. Damaged ones are
/// those that are not what was noted when they were written, or cannot be read at all.
class PublishedBefore
{
public:
    /// Nothing when there are no such documents.
    [[nodiscard]] static std::optional<PublishedBefore>
    read(const ContentFolder& tree, const WrittenNotes& notes, const QString& folder);

    /// Whether nothing speaks against the documents' being made from this: every document that is
    /// whole has the same files, with these hashes, in the same order. The first `count` files are
    /// the package's; `doc` has its other values.
    [[nodiscard]] bool canBe(const OrlPackageDoc& doc, qsizetype count,
                             const QList<InputFile>& files, const QStringList& hashes) const;

    /// Why packing damaged packed files again has not mended the version: its documents name other
    /// bytes than have come out. Empty when it has, or when nothing was damaged.
    [[nodiscard]] QString mendingFault(qsizetype count, const QStringList& hashes,
                                       const PackStore& store) const;

private:
    OrlPackageDoc m_package;
    QList<OrlFile> m_assets;
    bool m_isPackageWhole = false;
    bool m_isListWhole = false;
};
