#include "support/TestSigner.h"

#include <QtGlobal>

#include <cstddef>
#include <sodium.h>

namespace {

const unsigned char* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

unsigned char* unsignedBytes(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

} // namespace

TestSigner::TestSigner()
{
    if (sodium_init() < 0)
        qFatal("libsodium cannot be used");
    randombytes_buf(m_public.id.data(), m_public.id.size());
    crypto_sign_keypair(m_public.key.data(), m_secret.data());
}

QString TestSigner::keyText() const
{
    return QString::fromLatin1(minisign::publicKeyText(m_public));
}

QByteArray TestSigner::signature(const QByteArray& message) const
{
    QByteArray bytes(crypto_sign_BYTES, Qt::Uninitialized);
    crypto_sign_detached(unsignedBytes(bytes), nullptr, unsignedBytes(message),
                         static_cast<unsigned long long>(message.size()), m_secret.data());
    return bytes;
}

QByteArray TestSigner::sign(const QByteArray& document, const QByteArray& comment) const
{
    QByteArray hash(crypto_generichash_BYTES_MAX, Qt::Uninitialized);
    crypto_generichash(unsignedBytes(hash), static_cast<std::size_t>(hash.size()),
                       unsignedBytes(document), static_cast<unsigned long long>(document.size()),
                       nullptr, 0);
    const QByteArray id(reinterpret_cast<const char*>(m_public.id.data()),
                        qsizetype(m_public.id.size()));
    const QByteArray own = signature(hash);
    return "untrusted comment: test\n" + ("ED" + id + own).toBase64() +
           "\ntrusted comment: " + comment + '\n' + signature(own + comment).toBase64() + '\n';
}
