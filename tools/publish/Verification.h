#pragma once

#include "publish/JobRunner.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class Progress;

/// Where a verifier reads from: a content folder, or a web server.
class ContentSource
{
public:
    ContentSource() = default;
    virtual ~ContentSource() = default;
    Q_DISABLE_COPY_MOVE(ContentSource)

    /// The whole body behind an address as documents name it, the way the launcher resolves it;
    /// empty with a text when it cannot be had. Several threads may call it at once if
    /// isParallel() says so; else only the thread that made the source may.
    [[nodiscard]] virtual QByteArray fetch(const QString& address, QString* error) = 0;
    [[nodiscard]] virtual bool isParallel() const = 0;
};

/// Reads the folder as a web server would serve it to a launcher, in the channel of that name if
/// there is one.
[[nodiscard]] std::unique_ptr<ContentSource> folderSource(const QString& content,
                                                          const QString& channel = {});

/// Reads from a launcher's base address (a server, or a channel on it) with the launcher's own
/// client.
[[nodiscard]] std::unique_ptr<ContentSource> webSource(const QString& baseUrl);

/// What was read on the way.
struct VerifyReport
{
    int builds = 0;
    qint64 files = 0;
    qint64 packedBytes = 0;
    qint64 unpackedBytes = 0;
};

/// Reads everything that the launcher metadata reaches, and checks it as strictly as the launcher
/// does and more: documents, version texts, identities, paths, duplicates, sizes, hashes before and
/// after unpacking, and the hints with their pictures. A packed file that several documents name is
/// read once. Returns a line for each fault. Memory: one packed and unpacked file for each thread,
/// within the limits.
[[nodiscard]] QStringList verify(ContentSource& source, const JobLimits& limits, Progress& progress,
                                 VerifyReport& report);
