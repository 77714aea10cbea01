#pragma once

#include "publish/MetadataSigner.h"

#include <functional>

namespace publish {

class Passphrase;
struct PassphraseCost;

/// A secret key in minisign's format (https://jedisct1.github.io/minisign/). It lies in memory that
/// is never written to a disk and is wiped when the object goes.
class SecretKey : public MetadataSigner
{
public:
    using AskPassphrase = std::function<bool(Passphrase& passphrase, QString* error)>;

    /// Makes a pair: the file `path`, encrypted by the passphrase and readable by its owner only,
    /// and beside it `path`.pub. On Windows the folder's access list tells who may read them.
    /// Nothing with a text when one of them is there already, which stays as it is, or cannot be
    /// written.
    [[nodiscard]] static std::optional<minisign::PublicKey> makeFiles(const QString& path,
                                                                      const Passphrase& passphrase,
                                                                      const PassphraseCost& cost,
                                                                      QString* error);

    /// Reads a secret key file; the passphrase is asked for only if the key is encrypted. Null with
    /// a text when it is no such file or the passphrase is another.
    [[nodiscard]] static std::shared_ptr<const SecretKey>
    readFile(const QString& path, const AskPassphrase& ask, QString* error);

    [[nodiscard]] std::optional<QByteArray> sign(const QByteArray& document, ContentFolder& tree,
                                                 QString* error) const override;
    [[nodiscard]] std::optional<minisign::PublicKey> publicKey() const override;

    struct Material;
    struct Wipe
    {
        void operator()(Material* material) const;
    };
    using Secret = std::unique_ptr<Material, Wipe>;

    explicit SecretKey(Secret secret);
    ~SecretKey() override;
    Q_DISABLE_COPY_MOVE(SecretKey)

private:
    Secret m_secret;
};

} // namespace publish
