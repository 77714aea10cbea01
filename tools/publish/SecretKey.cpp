#include "publish/SecretKey.h"

#include "package/Failure.h"
#include "publish/FileWriting.h"
#include "publish/Passphrase.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <sodium.h>

namespace publish {

/// The part of a key file that the passphrase encrypts.
struct SecretKey::Material
{
    std::array<unsigned char, minisign::keyIdSize> id;
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> key;
    std::array<unsigned char, crypto_generichash_BYTES> checksum;
};

namespace {

using TwoLetters = std::array<unsigned char, 2>;
using Number = std::array<unsigned char, 8>;
using Checksum = decltype(SecretKey::Material::checksum);

constexpr TwoLetters keyAlgorithm{'E', 'd'};
constexpr TwoLetters signatureAlgorithm{'E', 'D'};
constexpr TwoLetters scryptAlgorithm{'S', 'c'};
constexpr TwoLetters noEncryption{0, 0};
constexpr TwoLetters checksumAlgorithm{'B', '2'};

/// A key file's bytes behind the base64.
struct KeyFile
{
    TwoLetters algorithm;
    TwoLetters encryption;
    TwoLetters checksumAlgorithm;
    std::array<unsigned char, crypto_pwhash_scryptsalsa208sha256_SALTBYTES> salt;
    Number operations;
    Number memory;
    SecretKey::Material material;
};
static_assert(sizeof(KeyFile) == 158);

struct WipeAny
{
    void operator()(void* memory) const { sodium_free(memory); }
};

template <class T>
using Wiped = std::unique_ptr<T, WipeAny>;

template <class T>
Wiped<T> wipedMemory(QString* error)
{
    void* memory = sodium_init() < 0 ? nullptr : sodium_malloc(sizeof(T));
    if (!memory)
        fail(error, QStringLiteral("there is no memory for a secret key"));
    return Wiped<T>(static_cast<T*>(memory));
}

QByteArray asBytes(const void* data, std::size_t size)
{
    return {static_cast<const char*>(data), static_cast<qsizetype>(size)};
}

const unsigned char* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

Checksum checksumOf(const SecretKey::Material& material)
{
    Checksum sum{};
    crypto_generichash_state state;
    crypto_generichash_init(&state, nullptr, 0, sum.size());
    crypto_generichash_update(&state, keyAlgorithm.data(), keyAlgorithm.size());
    crypto_generichash_update(&state, material.id.data(), material.id.size());
    crypto_generichash_update(&state, material.key.data(), material.key.size());
    crypto_generichash_final(&state, sum.data(), sum.size());
    return sum;
}

// Encrypts what is plain, and the reverse.
bool applyPassphrase(KeyFile& file, const Passphrase& passphrase, QString* error)
{
    const auto stream = wipedMemory<SecretKey::Material>(error);
    if (!stream)
        return false;
    auto* bytes = reinterpret_cast<unsigned char*>(stream.get());
    const auto memory = qFromLittleEndian<quint64>(file.memory.data());
    if (crypto_pwhash_scryptsalsa208sha256(bytes, sizeof(*stream), passphrase.data(),
                                           passphrase.size(), file.salt.data(),
                                           qFromLittleEndian<quint64>(file.operations.data()),
                                           static_cast<std::size_t>(memory)) != 0)
        return fail(error, QStringLiteral("the passphrase cannot be used: that takes %1 MiB of "
                                          "memory")
                               .arg(memory >> 20));
    auto* secret = reinterpret_cast<unsigned char*>(&file.material);
    std::transform(secret, secret + sizeof(file.material), bytes, secret,
                   [](unsigned char left, unsigned char right) {
                       return static_cast<unsigned char>(left ^ right);
                   });
    return true;
}

minisign::PublicKey publicKeyOf(const SecretKey::Material& material)
{
    minisign::PublicKey key{};
    key.id = material.id;
    crypto_sign_ed25519_sk_to_pk(key.key.data(), material.key.data());
    return key;
}

bool writePair(const QString& path, const KeyFile& secret, const minisign::PublicKey& key,
               QString* error)
{
    std::array<char, sodium_base64_ENCODED_LEN(sizeof(KeyFile), sodium_base64_VARIANT_ORIGINAL)>
        text{};
    sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(&secret),
                      sizeof(secret), sodium_base64_VARIANT_ORIGINAL);
    if (!writeNewFile(path,
                      "untrusted comment: encrypted secret key of a publisher\n" +
                          QByteArray(text.data()) + '\n',
                      QFile::ReadOwner | QFile::WriteOwner, error))
        return false;
    const QByteArray publicText = "untrusted comment: public key of a publisher " +
                                  key.idText().toLatin1() + '\n' + minisign::publicKeyText(key) +
                                  '\n';
    if (writeNewFile(path + QLatin1StringView(".pub"), publicText,
                     QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther,
                     error))
        return true;
    QFile::remove(path);
    return false;
}

// Into memory that is wiped: the key may not be encrypted.
bool readKeyFile(const QString& path, KeyFile& into, QString* error)
{
    constexpr qsizetype most = 4096;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return fail(error, QStringLiteral("%1: cannot be read: %2").arg(path, file.errorString()));
    QByteArray text(most, '\0');
    const qint64 size = std::max<qint64>(0, file.read(text.data(), most));
    const qsizetype lineEnd = text.indexOf('\n');
    std::size_t length = 0;
    const bool isKey =
        size < most && text.startsWith("untrusted comment:") && lineEnd > 0 &&
        sodium_base642bin(reinterpret_cast<unsigned char*>(&into), sizeof(into),
                          text.constData() + lineEnd, static_cast<std::size_t>(size - lineEnd),
                          "\r\n", &length, nullptr, sodium_base64_VARIANT_ORIGINAL) == 0 &&
        length == sizeof(into) && into.algorithm == keyAlgorithm &&
        into.checksumAlgorithm == checksumAlgorithm &&
        (into.encryption == scryptAlgorithm || into.encryption == noEncryption);
    sodium_memzero(text.data(), static_cast<std::size_t>(text.size()));
    return isKey || fail(error, QStringLiteral("%1: not a secret key file").arg(path));
}

// A key that is not encrypted has no checksum where minisign made it; the two halves of any key
// belong together.
bool isWhole(const KeyFile& file)
{
    const bool hasNone = file.encryption == noEncryption && file.material.checksum == Checksum{};
    const auto half = wipedMemory<minisign::PublicKey>(nullptr);
    const auto key = wipedMemory<decltype(file.material.key)>(nullptr);
    if (!half || !key || !(hasNone || checksumOf(file.material) == file.material.checksum))
        return false;
    crypto_sign_seed_keypair(half->key.data(), key->data(), file.material.key.data());
    return *key == file.material.key;
}

PassphraseCost costOf(const KeyFile& file)
{
    return {qFromLittleEndian<quint64>(file.operations.data()),
            qFromLittleEndian<quint64>(file.memory.data())};
}

QByteArray signedBy(const SecretKey::Material& material, const QByteArray& message)
{
    std::array<unsigned char, crypto_sign_BYTES> signature{};
    crypto_sign_detached(signature.data(), nullptr, unsignedBytes(message),
                         static_cast<unsigned long long>(message.size()), material.key.data());
    return asBytes(signature.data(), signature.size());
}

} // namespace

void SecretKey::Wipe::operator()(Material* material) const
{
    sodium_free(material);
}

SecretKey::SecretKey(Secret secret)
    : m_secret(std::move(secret))
{}

SecretKey::~SecretKey() = default;

std::optional<minisign::PublicKey> SecretKey::makeFiles(const QString& path,
                                                        const Passphrase& passphrase,
                                                        const PassphraseCost& cost, QString* error)
{
    // Before somebody waits for the passphrase to be used.
    for (const QString& file : {path, path + QLatin1StringView(".pub")}) {
        if (QFileInfo::exists(file)) {
            fail(error, QStringLiteral("%1: is there already, and stays as it is").arg(file));
            return std::nullopt;
        }
    }
    const auto file = wipedMemory<KeyFile>(error);
    if (!file)
        return std::nullopt;
    file->algorithm = keyAlgorithm;
    file->encryption = scryptAlgorithm;
    file->checksumAlgorithm = checksumAlgorithm;
    randombytes_buf(file->salt.data(), file->salt.size());
    qToLittleEndian(cost.operations, file->operations.data());
    qToLittleEndian(cost.memory, file->memory.data());
    minisign::PublicKey key{};
    randombytes_buf(key.id.data(), key.id.size());
    file->material.id = key.id;
    crypto_sign_keypair(key.key.data(), file->material.key.data());
    file->material.checksum = checksumOf(file->material);
    if (!applyPassphrase(*file, passphrase, error) || !writePair(path, *file, key, error))
        return std::nullopt;
    return key;
}

std::shared_ptr<const SecretKey> SecretKey::readFile(const QString& path, const AskPassphrase& ask,
                                                     QString* error)
{
    const auto file = wipedMemory<KeyFile>(error);
    if (!file || !readKeyFile(path, *file, error))
        return nullptr;
    const bool isEncrypted = file->encryption == scryptAlgorithm;
    if (isEncrypted) {
        Passphrase passphrase;
        if (!costOf(*file).isUsual()) {
            fail(error, QStringLiteral("%1: asks for more time or memory than any key").arg(path));
            return nullptr;
        }
        if (!ask(passphrase, error) || !applyPassphrase(*file, passphrase, error))
            return nullptr;
    }
    if (!isWhole(*file)) {
        fail(error, (isEncrypted ? QStringLiteral("%1: the passphrase is wrong")
                                 : QStringLiteral("%1: the key is damaged"))
                        .arg(path));
        return nullptr;
    }
    auto material = wipedMemory<Material>(error);
    if (!material)
        return nullptr;
    *material = file->material;
    return std::make_shared<const SecretKey>(Secret(material.release()));
}

std::optional<QByteArray> SecretKey::sign(const QByteArray& document, ContentFolder&,
                                          QString*) const
{
    std::array<unsigned char, crypto_generichash_BYTES_MAX> hash{};
    crypto_generichash(hash.data(), hash.size(), unsignedBytes(document),
                       static_cast<unsigned long long>(document.size()), nullptr, 0);
    const QByteArray signature = signedBy(*m_secret, asBytes(hash.data(), hash.size()));
    const QByteArray comment =
        "timestamp:" + QByteArray::number(QDateTime::currentSecsSinceEpoch()) +
        "\tfile:quelrametadata.json\thashed";
    const QByteArray head = asBytes(signatureAlgorithm.data(), signatureAlgorithm.size()) +
                            asBytes(m_secret->id.data(), m_secret->id.size());
    return "untrusted comment: signature of launcher metadata\n" + (head + signature).toBase64() +
           "\ntrusted comment: " + comment + '\n' +
           signedBy(*m_secret, signature + comment).toBase64() + '\n';
}

std::optional<minisign::PublicKey> SecretKey::publicKey() const
{
    return publicKeyOf(*m_secret);
}

} // namespace publish
