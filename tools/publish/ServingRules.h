#pragma once

#include <QString>
#include <QStringList>

namespace publish {

struct Presence;

/// What a web server or an object store has to say of the content beside its bytes, so that caches
/// keep what never changes and ask again for what does. Collects what is wrong.
class ServingRules
{
public:
    /// Takes the answer for an address as documents name it.
    void check(const QString& address, const Presence& presence);

    /// A line for each wrong header and kind of content; it names one address and how many others
    /// there are.
    [[nodiscard]] QStringList faults() const;

private:
    struct Fault
    {
        QString address;
        QString text;
        qsizetype others = 0;
    };
    void add(const QString& address, const QString& kind, const QString& text);

    QStringList m_keys;
    QList<Fault> m_faults;
};

} // namespace publish
