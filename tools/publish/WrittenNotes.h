#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

namespace publish {

class ContentFolder;

/// Hashes of what the publisher wrote to addresses whose bytes never change: the documents of
/// versions, and pictures; and of the metadata that was signed last. They tell damage from another
/// content. The file has the form that "sha256sum -c" reads. Content that other publishers wrote
/// need not have any.
class WrittenNotes
{
public:
    /// Reads what was noted.
    explicit WrittenNotes(const ContentFolder& tree);

    /// Empty when there is none.
    [[nodiscard]] QString hash(const QString& address) const;
    /// Whether other bytes were noted.
    [[nodiscard]] bool isDamage(const QString& address, const QByteArray& bytes) const;

    void note(const QString& address, const QByteArray& bytes);
    void forget(const QString& address) { m_hashes.remove(address); }
    /// Writes what has changed; what lay in a folder that is gone is forgotten.
    [[nodiscard]] bool save(ContentFolder& tree, QString* error);

private:
    QHash<QString, QString> m_hashes;
};

} // namespace publish
