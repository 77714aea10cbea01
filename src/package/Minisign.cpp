#include "package/Minisign.h"

#include <algorithm>
#include <sodium.h>

namespace minisign {

namespace {

constexpr qsizetype algorithmSize = 2;
constexpr QByteArrayView keyAlgorithm("Ed");
constexpr QByteArrayView prehashedAlgorithm("ED");
constexpr QByteArrayView trustedCommentStart("trusted comment: ");

/// What a signature file holds.
struct SignatureFile
{
    QByteArray algorithm;
    QByteArray id;
    QByteArray signature;
    QByteArray comment;
    /// Of the signature and the comment.
    QByteArray globalSignature;
};

QByteArray withoutLineEnd(QByteArray line)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

// Nothing unless the text is the base64 of so many bytes.
std::optional<QByteArray> decoded(const QByteArray& text, qsizetype size)
{
    const auto result =
        QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (!result || result.decoded.size() != size)
        return std::nullopt;
    return result.decoded;
}

std::optional<SignatureFile> readSignature(const QByteArray& bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    if (lines.size() == 5 && lines.last().isEmpty())
        lines.removeLast();
    if (lines.size() != 4)
        return std::nullopt;
    std::transform(lines.begin(), lines.end(), lines.begin(), withoutLineEnd);
    const auto own = decoded(lines.at(1), algorithmSize + keyIdSize + crypto_sign_BYTES);
    const auto global = decoded(lines.at(3), crypto_sign_BYTES);
    if (!own || !global || !lines.at(2).startsWith(trustedCommentStart))
        return std::nullopt;
    return SignatureFile{own->first(algorithmSize), own->sliced(algorithmSize, keyIdSize),
                         own->sliced(algorithmSize + qsizetype(keyIdSize)),
                         lines.at(2).sliced(trustedCommentStart.size()), *global};
}

const unsigned char* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

bool isSignedBy(const PublicKey& key, const QByteArray& message, const QByteArray& signature)
{
    return crypto_sign_verify_detached(unsignedBytes(signature), unsignedBytes(message),
                                       static_cast<unsigned long long>(message.size()),
                                       key.key.data()) == 0;
}

QByteArray prehash(const QByteArray& document)
{
    QByteArray hash(crypto_generichash_BYTES_MAX, Qt::Uninitialized);
    crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()),
                       static_cast<std::size_t>(hash.size()), unsignedBytes(document),
                       static_cast<unsigned long long>(document.size()), nullptr, 0);
    return hash;
}

} // namespace

QString PublicKey::idText() const
{
    // It is a number whose lowest byte comes first.
    QByteArray bytes(reinterpret_cast<const char*>(id.data()), qsizetype(id.size()));
    std::reverse(bytes.begin(), bytes.end());
    return QString::fromLatin1(bytes.toHex().toUpper());
}

std::optional<PublicKey> readPublicKey(const QByteArray& text)
{
    QList<QByteArray> lines = text.trimmed().split('\n');
    if (lines.size() == 2 && lines.first().startsWith("untrusted comment:"))
        lines.removeFirst();
    PublicKey key;
    const auto bytes = lines.size() == 1
                           ? decoded(withoutLineEnd(lines.first()),
                                     algorithmSize + qsizetype(key.id.size() + key.key.size()))
                           : std::nullopt;
    if (!bytes || !bytes->startsWith(keyAlgorithm))
        return std::nullopt;
    const auto idStart = bytes->cbegin() + algorithmSize;
    std::copy_n(idStart, key.id.size(), key.id.begin());
    std::copy_n(idStart + qsizetype(key.id.size()), key.key.size(), key.key.begin());
    return key;
}

QByteArray publicKeyText(const PublicKey& key)
{
    QByteArray bytes = keyAlgorithm.toByteArray();
    bytes.append(reinterpret_cast<const char*>(key.id.data()), qsizetype(key.id.size()));
    bytes.append(reinterpret_cast<const char*>(key.key.data()), qsizetype(key.key.size()));
    return bytes.toBase64();
}

QString signatureFault(const QByteArray& document, const QByteArray& signature,
                       const QList<PublicKey>& keys)
{
    if (sodium_init() < 0)
        return QStringLiteral("libsodium cannot be used");
    const auto file = readSignature(signature);
    if (!file || file->algorithm != prehashedAlgorithm)
        return QStringLiteral("the signature is malformed");
    const auto key = std::find_if(keys.begin(), keys.end(), [&file](const PublicKey& candidate) {
        return std::equal(candidate.id.begin(), candidate.id.end(),
                          reinterpret_cast<const unsigned char*>(file->id.cbegin()));
    });
    if (key == keys.end())
        return QStringLiteral("the signature is of another key");
    if (!isSignedBy(*key, prehash(document), file->signature))
        return QStringLiteral("the signature is not of this document");
    if (!isSignedBy(*key, file->signature + file->comment, file->globalSignature))
        return QStringLiteral("the signature's comment was changed");
    return {};
}

} // namespace minisign
