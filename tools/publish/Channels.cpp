#include "publish/Channels.h"

#include "package/Failure.h"
#include "package/SafePath.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"

#include <QRegularExpression>

namespace publish {

namespace {

QString inChannel(const QString& channel, QLatin1StringView address)
{
    return channel.isEmpty() ? QString(address) : u'/' + channel + address;
}

} // namespace

QString channels::nameFault(const QString& name)
{
    // One segment of an address, and a folder on every system.
    static const QRegularExpression form(QStringLiteral("\\A[a-z][a-z0-9-]{0,31}\\z"));
    const bool isTaken = addresses::metadata.startsWith(u'/' + name + u'/') ||
                         addresses::images.startsWith(u'/' + name + u'/');
    if (form.match(name).hasMatch() && !isTaken && staysBelowFolder(name, PathRules::Windows))
        return {};
    return QStringLiteral("'%1' cannot be a channel's name; take small letters, digits and '-'")
        .arg(name);
}

QString channels::metadata(const QString& channel)
{
    return inChannel(channel, addresses::metadata);
}

QString channels::signatures(const QString& channel)
{
    return inChannel(channel, addresses::signatures);
}

QString channels::hints(const QString& channel)
{
    return inChannel(channel, addresses::hints);
}

QString channels::images(const QString& channel)
{
    return inChannel(channel, addresses::images);
}

QString channels::hintsInMetadata(const QString& publicUrl, const QString& channel)
{
    return channel.isEmpty() ? publicUrl + addresses::hints : hints(channel).sliced(1);
}

QStringList channels::all(const ContentFolder& tree)
{
    QStringList names = tree.subfolders(QStringLiteral("/"));
    names.removeIf([&tree](const QString& name) {
        return !nameFault(name).isEmpty() || !tree.exists(metadata(name));
    });
    return names;
}

std::optional<MetadataDocument> channels::read(const ContentFolder& tree, const QString& channel,
                                               QString* error)
{
    const bool isThere = tree.exists(metadata(channel));
    auto document =
        MetadataDocument::read(tree.read(metadata(isThere ? channel : QString())), error);
    if (document && !channel.isEmpty()) {
        document->makeChannel();
        if (!isThere)
            document->setHints(QString());
    }
    return document;
}

bool channels::isPublished(const ContentFolder& tree, QString* error)
{
    return tree.exists(addresses::metadata) ||
           fail(error, QStringLiteral("%1: nothing is published here").arg(tree.root()));
}

std::optional<QList<channels::NamedDocument>> channels::readAll(const ContentFolder& tree,
                                                                QString* error)
{
    QList<NamedDocument> documents;
    for (const QString& channel : QStringList(QString()) + all(tree)) {
        const auto document = read(tree, channel, error);
        if (!document)
            return std::nullopt;
        documents.append({channel, *document});
    }
    return documents;
}

} // namespace publish
