#include "package/Sha256.h"

#include <QByteArray>

#if defined(Q_OS_WIN)
// windows.h must come before bcrypt.h, which uses its types.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on
#elif defined(VORNAK_HAS_OPENSSL)
#include <openssl/evp.h>
#else
#include <QCryptographicHash>
#endif

namespace {

constexpr int digestSize = 32;

} // namespace

#if defined(Q_OS_WIN)

namespace {

// Opened once and for the whole run: opening it costs more than hashing a small file.
BCRYPT_ALG_HANDLE sha256Algorithm()
{
    static const BCRYPT_ALG_HANDLE algorithm = [] {
        BCRYPT_ALG_HANDLE handle = nullptr;
        const auto status =
            BCryptOpenAlgorithmProvider(&handle, BCRYPT_SHA256_ALGORITHM, nullptr, 0);
        return BCRYPT_SUCCESS(status) ? handle : nullptr;
    }();
    return algorithm;
}

} // namespace

class Sha256::Engine
{
public:
    Engine() { start(); }
    ~Engine() { destroy(); }
    Q_DISABLE_COPY_MOVE(Engine)

    void add(QByteArrayView data)
    {
        // The interface counts in 32 bits and takes its input as non-const without writing to it.
        constexpr qsizetype maxPiece = 0x40000000;
        while (!data.isEmpty()) {
            const QByteArrayView piece = data.first(qMin(data.size(), maxPiece));
            auto* bytes = reinterpret_cast<PUCHAR>(const_cast<char*>(piece.data()));
            m_ok = BCRYPT_SUCCESS(
                       BCryptHashData(m_hash, bytes, static_cast<ULONG>(piece.size()), 0)) &&
                   m_ok;
            data = data.sliced(piece.size());
        }
    }

    QByteArray finish()
    {
        QByteArray digest(digestSize, '\0');
        const auto status = BCryptFinishHash(m_hash, reinterpret_cast<PUCHAR>(digest.data()),
                                             static_cast<ULONG>(digest.size()), 0);
        // No digest means no match anywhere: a failing system service must not pass a file.
        return m_ok && BCRYPT_SUCCESS(status) ? digest : QByteArray();
    }

    void reset()
    {
        destroy();
        start();
    }

private:
    void start()
    {
        m_hash = nullptr;
        m_ok =
            BCRYPT_SUCCESS(BCryptCreateHash(sha256Algorithm(), &m_hash, nullptr, 0, nullptr, 0, 0));
    }

    void destroy()
    {
        if (m_hash)
            BCryptDestroyHash(m_hash);
    }

    BCRYPT_HASH_HANDLE m_hash = nullptr;
    bool m_ok = false;
};

#elif defined(VORNAK_HAS_OPENSSL)

namespace {

// Looked up once and for the whole run: what EVP_sha256() returns is looked up anew for each hash,
// which costs more than hashing a small file.
const EVP_MD* sha256Algorithm()
{
    static const EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

} // namespace

class Sha256::Engine
{
public:
    Engine()
        : m_context(EVP_MD_CTX_new())
    {
        start();
    }
    ~Engine() { EVP_MD_CTX_free(m_context); }
    Q_DISABLE_COPY_MOVE(Engine)

    void add(QByteArrayView data)
    {
        m_ok =
            m_ok && EVP_DigestUpdate(m_context, data.data(), static_cast<size_t>(data.size())) == 1;
    }

    QByteArray finish()
    {
        QByteArray digest(digestSize, '\0');
        auto* bytes = reinterpret_cast<unsigned char*>(digest.data());
        // No digest means no match anywhere: a failing library must not pass a file.
        m_ok = m_ok && EVP_DigestFinal_ex(m_context, bytes, nullptr) == 1;
        return m_ok ? digest : QByteArray();
    }

    void reset() { start(); }

private:
    void start() { m_ok = EVP_DigestInit_ex(m_context, sha256Algorithm(), nullptr) == 1; }

    EVP_MD_CTX* m_context;
    bool m_ok = false;
};

#else

class Sha256::Engine
{
public:
    void add(QByteArrayView data) { m_hash.addData(data); }
    QByteArray finish() { return m_hash.result(); }
    void reset() { m_hash.reset(); }

private:
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
};

#endif

Sha256::Sha256()
    : m_engine(std::make_unique<Engine>())
{}

Sha256::~Sha256() = default;

void Sha256::addData(QByteArrayView data)
{
    m_engine->add(data);
}

QString Sha256::finish()
{
    return QString::fromLatin1(m_engine->finish().toHex());
}

void Sha256::reset()
{
    m_engine->reset();
}
