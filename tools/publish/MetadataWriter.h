#pragma once

#include "publish/MetadataSigner.h"

#include <QString>

namespace publish {

class ContentFolder;
class MetadataDocument;

/// Why metadata of the folder must not be written in this way: it is signed and would not be any
/// more, or it is not what was signed. Empty when it may be.
[[nodiscard]] QString writingFault(const ContentFolder& tree, const Signing& signing);

/// Whether that is so, and nothing else is wrong: another machine may sign what is written.
[[nodiscard]] bool canWaitForSignature(const ContentFolder& tree, const Signing& signing);

/// Writes what is current, for every command: signed if a signer is given, as it always was
/// otherwise. A signature is there before the document that it is of, so that nobody ever reads one
/// without the other. What another machine signs later is kept until then (see PendingMetadata.h).
class MetadataWriter
{
public:
    enum class When {
        Now,
        /// When another machine has signed it.
        Later,
    };

    /// The folder must have been opened for writing before the first write().
    MetadataWriter(ContentFolder& tree, const Signing& signing, When when = When::Now)
        : m_tree(tree)
        , m_signing(signing)
        , m_when(when)
    {}

    /// Makes the document the channel's. What it names must be on the disk. Nothing is written when
    /// the channel has this document, nor when it would only get a higher serial and another time.
    /// False with a text when it cannot be written or signed, or when writingFault() has one; the
    /// channel then has what it had.
    [[nodiscard]] bool write(const QString& channel, const MetadataDocument& document,
                             QString* error);

    /// Signs what is current in the channel anew, even if nothing else changes; or ends the
    /// signing.
    [[nodiscard]] bool renew(const QString& channel, QString* error);

private:
    [[nodiscard]] bool writePlain(const QString& channel, const MetadataDocument& document,
                                  QString* error);
    [[nodiscard]] bool writeSigned(const QString& channel, MetadataDocument document, bool anew,
                                   QString* error);
    [[nodiscard]] bool writeForLater(const QString& channel, MetadataDocument document,
                                     QString* error);
    [[nodiscard]] bool isCurrent(const QString& channel, MetadataDocument document) const;
    [[nodiscard]] bool setTerms(const QString& channel, MetadataDocument& document,
                                QString* error) const;
    [[nodiscard]] bool provideSignature(const QString& channel, const QByteArray& document,
                                        QString* error);
    [[nodiscard]] QList<minisign::PublicKey> knownKeys() const;

    ContentFolder& m_tree;
    const Signing& m_signing;
    When m_when;
};

} // namespace publish
