#include "publish/VerifyRun.h"

#include "package/Unpack.h"

#include <algorithm>

namespace publish {

void VerifyRun::addFault(const QString& where, const QString& what, const QString& command)
{
    const QString cure =
        m_source.isServer()
            ? QStringLiteral(
                  "mend it in the folder if 'verify' finds it there too, and upload again")
            : QStringLiteral("'%1' mends it").arg(command);
    m_faults.append(where + QLatin1StringView(": ") + what + QLatin1StringView("; ") + cure);
}

void VerifyRun::sortBehind(qsizetype count)
{
    std::sort(m_faults.begin() + count, m_faults.end());
}

bool VerifyRun::checkPlain(const QString& where, const QString& address, const QString& command)
{
    const bool isPlain = std::all_of(address.begin(), address.end(), [](QChar character) {
        return character.unicode() > 0x20 && character.unicode() < 0x7f && character != u'%' &&
               character != u'#' && character != u'?';
    });
    if (!isPlain)
        addFault(where, QStringLiteral("the address %1 is not plain").arg(address), command);
    return isPlain;
}

QByteArray VerifyRun::fetch(const QString& where, const QString& address, const QString& command,
                            const QString& stated)
{
    checkPlain(where, address, command);
    QString error;
    const QByteArray body = m_source.fetch(address, &error);
    m_fetched.append(address);
    if (body.isEmpty())
        addFault(where,
                 QStringLiteral("%1 cannot be read: %2")
                     .arg(address, error.isEmpty() ? QStringLiteral("it is empty") : error),
                 command);
    if (body.isEmpty())
        return {};
    const QString noted = m_source.notedHash(address);
    const QString hash = noted.isEmpty() && stated.isEmpty() ? QString() : hashBytes(body);
    if (!noted.isEmpty() && noted != hash)
        addFault(where, QStringLiteral("%1 is not what was published").arg(address), command);
    else if (!stated.isEmpty() && stated != hash)
        addFault(where, QStringLiteral("%1 has not the hash that the metadata states").arg(address),
                 noted.isEmpty() ? command : QStringLiteral("sign"));
    else
        return body;
    return {};
}

void VerifyRun::look(const QStringList& addresses, const ContentSource::Found& found)
{
    m_source.look(addresses, [&](qsizetype index, const Presence& presence) {
        if (m_source.isServer())
            m_rules.check(addresses.at(index), presence);
        found(index, presence);
    });
}

void VerifyRun::checkServing(const QStringList& others)
{
    if (!m_source.isServer())
        return;
    look(m_fetched + others, [](qsizetype, const Presence&) {});
    m_faults += m_rules.faults();
}

} // namespace publish
