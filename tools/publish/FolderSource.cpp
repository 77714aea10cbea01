#include "publish/FolderSource.h"

#include "package/SafePath.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace publish {

namespace {

QString leadsElsewhere()
{
    return QStringLiteral("the address leads elsewhere");
}

} // namespace

FolderSource::FolderSource(const QString& content, const QString& channel)
    : m_base(channel.isEmpty() ? m_server : m_server + u'/' + channel)
    , m_tree(content)
    , m_notes(m_tree)
{
    m_client.setBaseUrl(m_base);
}

QByteArray FolderSource::fetch(const QString& address, QString* error)
{
    const QString path = servedPath(address);
    if (path.isEmpty()) {
        if (error)
            *error = leadsElsewhere();
        return {};
    }
    QFile file(m_tree.path(path));
    const bool opened = file.open(QIODevice::ReadOnly);
    const QByteArray body = opened ? file.readAll() : QByteArray();
    if (opened && file.error() == QFileDevice::NoError)
        return body;
    if (error)
        *error = file.errorString();
    return {};
}

void FolderSource::look(const QStringList& addresses, const Found& found)
{
    for (qsizetype i = 0; i < addresses.size(); ++i)
        found(i, presenceOf(servedPath(addresses.at(i))));
}

QString FolderSource::notedHash(const QString& address) const
{
    return m_notes.hash(servedPath(address));
}

Presence FolderSource::presenceOf(const QString& path) const
{
    const QFileInfo file(m_tree.path(path));
    if (path.isEmpty())
        return {leadsElsewhere()};
    if (!file.exists())
        return {QStringLiteral("there is no such file")};
    return file.isFile() ? Presence{{}, file.size()} : Presence{QStringLiteral("it is not a file")};
}

// What a server would be asked for: absolute addresses move to it by the launcher's rule.
QString FolderSource::servedPath(const QString& address) const
{
    const QUrl url = m_client.resolveUrl(QUrl(m_base), requested(m_base, address).toString());
    const QString path = url.path(QUrl::FullyDecoded);
    return url.toString().startsWith(m_server + u'/') && staysBelowFolder(path.sliced(1))
               ? path
               : QString();
}

} // namespace publish
