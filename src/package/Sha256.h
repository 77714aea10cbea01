#pragma once

#include <QByteArrayView>
#include <QString>

#include <memory>

/// SHA-256 (FIPS 180-4) of bytes that arrive in pieces, computed by the platform's tuned
/// implementation: OpenSSL's EVP, on Windows the Cryptography API, else Qt's own. All give the same
/// digest; Qt's is several times slower, and players wait for it at every start.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void addData(QByteArrayView data);

    /// The digest of everything added so far as 64 lower-case hexadecimal digits. Ends the
    /// computation: only reset() may follow.
    [[nodiscard]] QString finish();

    /// Starts anew.
    void reset();

private:
    class Engine;
    std::unique_ptr<Engine> m_engine;
};
