#pragma once

#include <QString>

#include <array>
#include <cstddef>

namespace publish {

/// A passphrase on its way from whoever gives it to the key that it opens: it lies in one place,
/// which is wiped when the object goes.
class Passphrase
{
public:
    Passphrase() = default;
    ~Passphrase();
    Q_DISABLE_COPY_MOVE(Passphrase)

    /// In bytes.
    static constexpr std::size_t largest = 1024;

    /// False when it is too long.
    [[nodiscard]] bool append(char byte);
    void clear();

    [[nodiscard]] const char* data() const { return m_bytes.data(); }
    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] bool isEmpty() const { return m_size == 0; }
    [[nodiscard]] bool operator==(const Passphrase& other) const;

private:
    std::array<char, largest> m_bytes{};
    std::size_t m_size = 0;
};

/// How much it costs to try a passphrase, as scrypt counts: operations, and bytes of memory.
struct PassphraseCost
{
    quint64 operations;
    quint64 memory;

    /// Not more than what minisign takes.
    [[nodiscard]] bool isUsual() const;
};

/// What minisign takes: some seconds and 1 GiB.
extern const PassphraseCost usualPassphraseCost;
/// For the keys of tests.
extern const PassphraseCost leastPassphraseCost;

/// Asks for the passphrase by `prompt` where somebody types, without showing it, and takes the next
/// line of standard input elsewhere. False with a text when there is none, or when it is too long.
[[nodiscard]] bool askPassphrase(const QString& prompt, Passphrase& passphrase, QString* error);

/// The same for a new one, which somebody who types has to give twice and which must not be empty.
[[nodiscard]] bool askNewPassphrase(Passphrase& passphrase, QString* error);

} // namespace publish
