#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

class ContentFolder;
class PackStore;
class WrittenNotes;
struct InputFile;

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

} // namespace publish
