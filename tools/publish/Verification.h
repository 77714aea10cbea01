#pragma once

#include <QStringList>

namespace publish {

class ContentSource;
class Progress;
struct JobLimits;
struct VerifyOptions;

/// What was read on the way.
struct VerifyReport
{
    int builds = 0;
    qint64 files = 0;
    qint64 packedBytes = 0;
    qint64 unpackedBytes = 0;
    /// Of the metadata; 0 and empty where it has none.
    qint64 serial = 0;
    QString expires = {};
};

/// Reads everything that the launcher metadata reaches, and on demand other versions, and checks it
/// as strictly as the launcher does and more: documents, version texts, identities, paths,
/// duplicates, sizes, hashes before and after unpacking, the hints with their pictures, and the
/// headers that a web server sends, signatures and the hashes that are signed. A packed file that
/// several documents name is read once. Returns a line for each fault, which ends in what mends it.
/// Memory: one packed and unpacked file for each thread, within the limits.
[[nodiscard]] QStringList verifyContent(ContentSource& source, const VerifyOptions& options,
                                        const JobLimits& limits, Progress& progress,
                                        VerifyReport& report);

} // namespace publish
