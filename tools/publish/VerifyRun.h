#pragma once

#include "publish/ContentSource.h"
#include "publish/ServingRules.h"

#include <QString>
#include <QStringList>

namespace publish {

/// What the parts of one verification share: where they read from, and the faults that they find.
class VerifyRun
{
public:
    explicit VerifyRun(ContentSource& source)
        : m_source(source)
    {}

    /// Adds the line as it is.
    void addLine(const QString& line) { m_faults.append(line); }
    /// Adds a line that begins with `where` and says how to mend `what`: by the publisher's
    /// `command`, or by an upload when a server was asked.
    void addFault(const QString& where, const QString& what, const QString& command);
    /// Puts the lines behind the first `count` in order.
    void sortBehind(qsizetype count);
    [[nodiscard]] QStringList faults() const { return m_faults; }

    /// Whether documents may name the address; a fault otherwise.
    bool checkPlain(const QString& where, const QString& address, const QString& command);

    /// The whole body; empty, and a fault, when it cannot be had or is not what was published, or
    /// has not the hash that the metadata states, if it states one.
    QByteArray fetch(const QString& where, const QString& address, const QString& command,
                     const QString& stated = {});
    /// As ContentSource::look(); what is wrong with headers is a fault of faultsOfServing().
    void look(const QStringList& addresses, const ContentSource::Found& found);
    /// Looks at `others`, and at everything that was fetched, for the headers alone. Nothing for a
    /// folder.
    void checkServing(const QStringList& others);

    [[nodiscard]] ContentSource& source() const { return m_source; }

private:
    ContentSource& m_source;
    ServingRules m_rules;
    QStringList m_fetched;
    QStringList m_faults;
};

} // namespace publish
