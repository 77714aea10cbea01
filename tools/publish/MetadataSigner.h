#pragma once

#include "package/Minisign.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace publish {

class ContentFolder;

/// Makes signatures of launcher metadata: with a key at hand, or by way of another machine's.
class MetadataSigner
{
public:
    MetadataSigner() = default;
    virtual ~MetadataSigner() = default;
    Q_DISABLE_COPY_MOVE(MetadataSigner)

    /// The content of a signature file. Files that have to be made on the way are in the folder's
    /// work folder. Nothing with a text when there is no signature.
    [[nodiscard]] virtual std::optional<QByteArray>
    sign(const QByteArray& document, ContentFolder& tree, QString* error) const = 0;

    /// Nothing when only somebody else knows it.
    [[nodiscard]] virtual std::optional<minisign::PublicKey> publicKey() const = 0;
};

/// How a command signs the metadata that it writes.
struct Signing
{
    /// Null: not at all.
    std::shared_ptr<const MetadataSigner> signer = {};
    /// Keys whose signatures count, beside the signer's own and those that were noted before.
    QList<minisign::PublicKey> keys = {};
    /// How long launchers may use what is signed, in days; 0 for ever.
    int expiresInDays = 0;
    /// Writes without a signature what had one.
    bool endSigning = false;
};

} // namespace publish
