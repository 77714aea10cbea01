#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>
#include <optional>

/// Detached signatures in minisign's format: Ed25519 (RFC 8032) over the BLAKE2b-512 (RFC 7693) of
/// the document, with a comment that is signed, too. The format is public:
/// https://jedisct1.github.io/minisign/. Only the prehashed form is taken, which is what minisign
/// makes by default.
namespace minisign {

inline constexpr std::size_t keyIdSize = 8;

/// A public key with the number that its signatures carry.
struct PublicKey
{
    std::array<unsigned char, keyIdSize> id;
    std::array<unsigned char, 32> key;

    /// The number as minisign shows it: 16 upper-case hexadecimal digits.
    [[nodiscard]] QString idText() const;

    bool operator==(const PublicKey&) const = default;
};

/// Reads a key from its one line of base64, or from a public key file, whose line of comment is
/// passed over. Nothing when it is neither.
[[nodiscard]] std::optional<PublicKey> readPublicKey(const QByteArray& text);

/// The key as its one line of base64.
[[nodiscard]] QByteArray publicKeyText(const PublicKey& key);

/// Why `signature`, the content of a signature file, does not show that the holder of one of the
/// keys has signed the document, in a few words for a log; empty when it does. The document is not
/// looked into.
[[nodiscard]] QString signatureFault(const QByteArray& document, const QByteArray& signature,
                                     const QList<PublicKey>& keys);

} // namespace minisign
