#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class ContentFolder;
class PackStore;
class WrittenNotes;
struct InputFile;

/// What a build's documents, which lie in `folder`, say of these files. `hashes` are those of the
/// files, in their order; the store knows each content.
[[nodiscard]] QList<OrlFile> fileEntries(const QList<InputFile>& files, const QStringList& hashes,
                                         const PackStore& store, const QString& folder);

/// The same as far as versions are compared by it. A content that was never packed counts with its
/// full size.
[[nodiscard]] QList<OrlFile> comparableFiles(const QList<InputFile>& files,
                                             const QStringList& hashes, const PackStore& store);

/// Writes the documents of a build and notes them: the folder appears with everything in it, and
/// what was there goes. `assets` may be empty; else they get an identity, that of `served` if it is
/// the same set.
[[nodiscard]] bool writeVersionFolder(ContentFolder& tree, WrittenNotes& notes,
                                      const QString& folder, const OrlPackageDoc& doc,
                                      const QList<OrlFile>& assets, const QString& served,
                                      QString* error);

/// Writes those documents of a build again that are damaged, each in one step, and notes all.
/// `mended` counts them. False with a text when these are not the documents that were damaged.
[[nodiscard]] bool mendVersionFolder(ContentFolder& tree, WrittenNotes& notes,
                                     const QString& folder, const OrlPackageDoc& doc,
                                     const QList<OrlFile>& assets, int& mended, QString* error);

} // namespace publish
