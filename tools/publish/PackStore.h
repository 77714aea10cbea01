#pragma once

#include "publish/InputFolder.h"
#include "publish/JobRunner.h"
#include "publish/Packer.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <mutex>
#include <optional>

namespace publish {

class ContentFolder;
class Progress;

struct PackSettings
{
    PackLevel level;
    JobLimits limits;
    /// Reads the input and packed files even if nothing speaks for a change.
    bool reread = false;
};

/// The packed files of a content tree, found by what they hold. A content is packed once, however
/// many files, versions and packages have it.
class PackStore
{
public:
    PackStore(ContentFolder& tree, const PackSettings& settings, Progress& progress);

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

    /// Notes that what pack() packed, and what it found whole by reading, is on the disk: from now
    /// on its presence and size are enough. Without the note it is only read again, so a failure to
    /// write it is none.
    void noteSafe();

    /// Forgets contents whose packed files are gone.
    void forgetMissing();

private:
    enum class Index {
        Read,
        /// Half a line, which a publisher left that was killed, would spoil the next one.
        ReadAndMend,
    };
    void loadKnown(Index index);
    void learnFromDocuments();
    void learnFromIndex(Index index);
    void learn(const PackedFile& file);
    [[nodiscard]] bool isThere(const PackedFile& file) const;
    [[nodiscard]] bool isIntact(const PackedFile& file) const;
    [[nodiscard]] QList<qsizetype> sortOut(const QStringList& hashes,
                                           QList<qsizetype>& toPack) const;
    [[nodiscard]] bool findReusable(const QStringList& hashes, QList<qsizetype>& toPack,
                                    QString* error);
    [[nodiscard]] bool packOne(const InputFile& file, const QString& hash, QString* error);
    [[nodiscard]] std::optional<PackedFile> packInto(const QString& work, const InputFile& file,
                                                     const QString& hash, QString* error);
    [[nodiscard]] bool record(const PackedFile& file, QString* error);

    ContentFolder& m_tree;
    PackSettings m_settings;
    Progress& m_progress;
    std::mutex m_mutex;
    QHash<QString, PackedFile> m_known;
    // Hashes of packed files.
    QSet<QString> m_safe;
    // Packed, or found whole by reading, and not noted as safe yet.
    QList<PackedFile> m_unsafe;
    int m_packedCount = 0;
    int m_reusedCount = 0;
    qint64 m_addedBytes = 0;
};

} // namespace publish
