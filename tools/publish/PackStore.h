#pragma once

#include "publish/InputFolder.h"
#include "publish/JobRunner.h"
#include "publish/Packer.h"

#include <QHash>
#include <QList>

#include <mutex>
#include <optional>

class ContentFolder;
class Progress;

struct PackSettings
{
    PackLevel level;
    JobLimits limits;
};

/// The packed files of a content tree, found by what they hold. A content is packed once, however
/// many files, versions and packages have it.
class PackStore
{
public:
    PackStore(ContentFolder& tree, const PackSettings& settings, Progress& progress);

    /// The hash of each file's content, in the order of `files`; empty with a text when one cannot
    /// be read or has not the size that was seen before. Writes nothing.
    [[nodiscard]] QStringList hashFiles(const QList<InputFile>& files, QString* error);

    /// Makes sure that every content is there packed. On success packed() knows each hash of
    /// `hashes`; on failure what was packed stays, for the next attempt.
    [[nodiscard]] bool pack(const QList<InputFile>& files, const QStringList& hashes,
                            QString* error);

    /// Finds out what pack() would do, and writes nothing: packedCount() and reusedCount() tell of
    /// it, addedBytes() counts what is to be packed with its full size, and packed() knows only
    /// what is there.
    void plan(const QList<InputFile>& files, const QStringList& hashes);

    /// Nothing with empty hashes when the content is not there packed.
    [[nodiscard]] PackedFile packed(const QString& unpackedhash) const;

    /// Contents that pack() packed, and those that it found packed.
    [[nodiscard]] int packedCount() const { return m_packedCount; }
    [[nodiscard]] int reusedCount() const { return m_reusedCount; }
    /// Bytes that pack() added to the tree.
    [[nodiscard]] qint64 addedBytes() const { return m_addedBytes; }

    /// Forgets contents whose packed files are gone.
    void forgetMissing();

private:
    enum class Index {
        Read,
        /// Half a line, which a publisher left that was killed, would spoil the next one.
        ReadAndMend,
    };
    void loadKnown(Index index);
    void learn(const PackedFile& file);
    [[nodiscard]] bool isThere(const PackedFile& file) const;
    [[nodiscard]] bool isIntact(const PackedFile& file) const;
    [[nodiscard]] bool findReusable(const QList<InputFile>& missing, const QStringList& hashes,
                                    QList<qsizetype>& toPack, QString* error);
    [[nodiscard]] bool packOne(const InputFile& file, const QString& hash, QString* error);
    [[nodiscard]] std::optional<PackedFile> packInto(const QString& work, const InputFile& file,
                                                     const QString& hash, QString* error);
    [[nodiscard]] bool record(const PackedFile& file, QString* error);

    ContentFolder& m_tree;
    PackSettings m_settings;
    Progress& m_progress;
    std::mutex m_mutex;
    QHash<QString, PackedFile> m_known;
    int m_packedCount = 0;
    int m_reusedCount = 0;
    qint64 m_addedBytes = 0;
};
