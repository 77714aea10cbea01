#pragma once

#include "package/Minisign.h"

#include <QByteArray>
#include <QString>

#include <array>

/// A publisher's key pair, made anew, and the signatures that it makes.
class TestSigner
{
public:
    TestSigner();

    [[nodiscard]] minisign::PublicKey publicKey() const { return m_public; }
    /// In minisign's text form.
    [[nodiscard]] QString keyText() const;
    /// The content of a signature file; the comment is the signed one.
    [[nodiscard]] QByteArray sign(const QByteArray& document,
                                  const QByteArray& comment = "timestamp:1") const;

private:
    [[nodiscard]] QByteArray signature(const QByteArray& message) const;

    minisign::PublicKey m_public;
    std::array<unsigned char, 64> m_secret;
};
