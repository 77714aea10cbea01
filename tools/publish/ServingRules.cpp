#include "publish/ServingRules.h"

#include "publish/Addresses.h"
#include "publish/ContentSource.h"

#include <algorithm>

namespace publish {

namespace {

struct Rule
{
    /// For telling faults of one kind together.
    QString kind;
    QByteArray cacheControl;
    /// A whole type, or the beginning of one that ends in "/".
    QByteArray type;
    bool isPacked = false;
};

Rule ruleFor(const QString& address)
{
    const QByteArray forEver = "public, max-age=31536000, immutable";
    const QByteArray json = "application/json";
    if (address == addresses::metadata || address == addresses::hints)
        return {address, "no-cache", json};
    if (address.startsWith(addresses::images))
        return {addresses::images, "public, max-age=86400", "image/"};
    if (address.startsWith(addresses::signatures))
        return {addresses::signatures, forEver, "text/plain"};
    if (addresses::onServer(address).startsWith(addresses::packedFiles))
        return {addresses::packedFiles, forEver, "application/octet-stream", true};
    return address.endsWith(QLatin1StringView(".txt"))
               ? Rule{QStringLiteral("texts"), forEver, "text/plain"}
               : Rule{QStringLiteral("documents"), forEver, json};
}

QByteArrayList directives(const QByteArray& header)
{
    QByteArrayList parts = header.toLower().split(',');
    std::transform(parts.begin(), parts.end(), parts.begin(),
                   [](const QByteArray& part) { return part.trimmed(); });
    return parts;
}

// More may stand there than has to.
bool hasAll(const QByteArray& header, const QByteArray& wanted)
{
    const QByteArrayList present = directives(header);
    const QByteArrayList needed = directives(wanted);
    return std::all_of(needed.begin(), needed.end(), [&present](const QByteArray& directive) {
        return present.contains(directive);
    });
}

bool isType(const QByteArray& header, const QByteArray& wanted)
{
    const QByteArray type = header.toLower().split(';').first().trimmed();
    return wanted.endsWith('/') ? type.startsWith(wanted) : type == wanted;
}

QString wrongHeader(const char* name, const QByteArray& value, const QByteArray& wanted)
{
    const QString is = value.isEmpty() ? QStringLiteral("%1 is missing; it must be '%2'")
                                       : QStringLiteral("%1 is '%3' instead of '%2'");
    const QString text = is.arg(QLatin1StringView(name), QString::fromLatin1(wanted));
    return value.isEmpty() ? text : text.arg(QString::fromLatin1(value));
}

} // namespace

void ServingRules::check(const QString& address, const Presence& presence)
{
    if (!presence.fault.isEmpty())
        return;
    const Rule rule = ruleFor(address);
    if (!hasAll(presence.cacheControl, rule.cacheControl))
        add(address, rule.kind,
            wrongHeader("Cache-Control", presence.cacheControl, rule.cacheControl));
    if (!isType(presence.contentType, rule.type))
        add(address, rule.kind,
            wrongHeader("Content-Type", presence.contentType,
                        rule.type.endsWith('/') ? rule.type + "..." : rule.type));
    if (rule.isPacked && !presence.contentEncoding.isEmpty())
        add(address, rule.kind,
            QStringLiteral("Content-Encoding is '%1'; packed files must be served as they are")
                .arg(QString::fromLatin1(presence.contentEncoding)));
}

void ServingRules::add(const QString& address, const QString& kind, const QString& text)
{
    const QString key = kind + u' ' + text;
    const qsizetype known = m_keys.indexOf(key);
    if (known >= 0) {
        ++m_faults[known].others;
        return;
    }
    m_keys.append(key);
    m_faults.append({address, text});
}

QStringList ServingRules::faults() const
{
    QStringList lines;
    for (const Fault& fault : m_faults) {
        const QString others =
            fault.others == 0 ? QString() : QStringLiteral(" and %1 others").arg(fault.others);
        lines.append(QStringLiteral("%1%2: %3; set it on the server")
                         .arg(fault.address, others, fault.text));
    }
    return lines;
}

} // namespace publish
