#include "publish/Passphrase.h"

#include "package/Failure.h"
#include "publish/Terminal.h"

#include <algorithm>
#include <sodium.h>

namespace publish {

const PassphraseCost usualPassphraseCost{crypto_pwhash_scryptsalsa208sha256_OPSLIMIT_SENSITIVE,
                                         crypto_pwhash_scryptsalsa208sha256_MEMLIMIT_SENSITIVE};
const PassphraseCost leastPassphraseCost{crypto_pwhash_scryptsalsa208sha256_OPSLIMIT_MIN,
                                         crypto_pwhash_scryptsalsa208sha256_MEMLIMIT_MIN};

bool PassphraseCost::isUsual() const
{
    return operations <= usualPassphraseCost.operations && memory <= usualPassphraseCost.memory;
}

Passphrase::~Passphrase()
{
    clear();
}

bool Passphrase::append(char byte)
{
    if (m_size == largest)
        return false;
    m_bytes.at(m_size++) = byte;
    return true;
}

void Passphrase::clear()
{
    sodium_memzero(m_bytes.data(), m_bytes.size());
    m_size = 0;
}

bool Passphrase::operator==(const Passphrase& other) const
{
    return m_size == other.m_size &&
           std::equal(m_bytes.begin(), m_bytes.begin() + m_size, other.m_bytes.begin());
}

bool askPassphrase(const QString& prompt, Passphrase& passphrase, QString* error)
{
    const bool isTyped = isInputTyped();
    if (isTyped && !writeText(Stream::Errors, prompt))
        return fail(error, QStringLiteral("the passphrase cannot be asked for"));
    passphrase.clear();
    bool fits = true;
    const bool isThere =
        readHiddenLine([&passphrase, &fits](char byte) { fits = passphrase.append(byte) && fits; });
    if (isTyped) {
        [[maybe_unused]] const bool written = writeText(Stream::Errors, QStringLiteral("\n"));
    }
    if (!isThere)
        return fail(error, QStringLiteral("no passphrase was given; it is the first line of "
                                          "standard input where nobody types"));
    return fits ||
           fail(error,
                QStringLiteral("the passphrase has more than %1 bytes").arg(Passphrase::largest));
}

bool askNewPassphrase(Passphrase& passphrase, QString* error)
{
    if (!askPassphrase(QStringLiteral("Passphrase for the new key: "), passphrase, error))
        return false;
    if (passphrase.isEmpty())
        return fail(error, QStringLiteral("the passphrase must not be empty"));
    if (!isInputTyped())
        return true;
    Passphrase again;
    return askPassphrase(QStringLiteral("The same again: "), again, error) &&
           (passphrase == again || fail(error, QStringLiteral("the two are not the same")));
}

} // namespace publish
