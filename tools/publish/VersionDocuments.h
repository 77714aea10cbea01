#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

class ContentFolder;
class PackStore;
struct InputFile;

/// What a build's documents, which lie in `folder`, say of these files. `hashes` are those of the
/// files, in their order; the store knows each content.
[[nodiscard]] QList<OrlFile> fileEntries(const QList<InputFile>& files, const QStringList& hashes,
                                         const PackStore& store, const QString& folder);

/// Writes the documents of a build: the folder appears with everything in it, and what was there
/// goes. `assets` may be empty; else they get an identity, that of `served` if it is the same set.
[[nodiscard]] bool writeVersionFolder(ContentFolder& tree, const QString& folder,
                                      const OrlPackageDoc& doc, const QList<OrlFile>& assets,
                                      const QString& served, QString* error);
