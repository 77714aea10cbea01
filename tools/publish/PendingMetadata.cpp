#include "publish/PendingMetadata.h"

#include "package/Failure.h"
#include "package/SignedTerms.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/SignedContent.h"

#include <QFile>

namespace publish {

namespace {

QString whatWaits(const ContentFolder& tree, const QString& channel)
{
    return tree.path(pending::address(channel));
}

bool checkThere(const ContentFolder& tree, const QString& channel, QString* error)
{
    if (!tree.exists(pending::address(channel)))
        return fail(error, QStringLiteral("%1: nothing waits for a signature; 'package --stage' "
                                          "and 'switch --stage' write what has to be signed")
                               .arg(whatWaits(tree, channel)));
    return pending::isFresh(tree, channel) ||
           fail(error, QStringLiteral("%1: something else became current since this was written; "
                                      "stage it again")
                           .arg(whatWaits(tree, channel)));
}

} // namespace

QString pending::folder()
{
    return QStringLiteral("/.publisher/unsigned/");
}

QString pending::address(const QString& channel)
{
    return (channel.isEmpty() ? folder() : folder() + channel + u'/') +
           QLatin1StringView("quelrametadata.json");
}

bool pending::isFresh(const ContentFolder& tree, const QString& channel)
{
    const qint64 current = readSignedTerms(tree.read(channels::metadata(channel))).serial;
    return readSignedTerms(tree.read(address(channel))).serial > current;
}

std::optional<MetadataDocument> pending::read(const ContentFolder& tree, const QString& channel,
                                              QString* error)
{
    if (!isFresh(tree, channel))
        return channels::read(tree, channel, error);
    auto document = MetadataDocument::read(tree.read(address(channel)), error);
    if (document && !channel.isEmpty())
        document->makeChannel();
    return document;
}

std::optional<QList<channels::NamedDocument>> pending::readAll(const ContentFolder& tree,
                                                               QString* error)
{
    QList<channels::NamedDocument> documents;
    for (const QString& channel : QStringList(QString()) + tree.subfolders(folder())) {
        if (!isFresh(tree, channel))
            continue;
        const auto document = read(tree, channel, error);
        if (!document)
            return std::nullopt;
        documents.append({channel, *document});
    }
    return documents;
}

bool pending::addSignature(ContentFolder& tree, const QString& channel, const QByteArray& signature,
                           const QList<minisign::PublicKey>& keys, QString* error)
{
    if (!checkThere(tree, channel, error))
        return false;
    const QByteArray document = tree.read(address(channel));
    const auto key = signedcontent::signingKey(document, signature,
                                               signedcontent::notedKeys(tree) + keys, error);
    return key && signedcontent::keepSignature(tree, channel, document, signature, *key, error);
}

bool pending::makeCurrent(ContentFolder& tree, const QString& channel,
                          const QList<minisign::PublicKey>& keys, QString* error)
{
    if (!checkThere(tree, channel, error))
        return false;
    const QByteArray document = tree.read(address(channel));
    const QByteArray signature = tree.read(signedcontent::signatureAddress(channel, document));
    if (signature.isEmpty())
        return fail(error, QStringLiteral("%1: is not signed yet; 'sign --signature FILE' takes "
                                          "the signature")
                               .arg(whatWaits(tree, channel)));
    const QList<minisign::PublicKey> known = signedcontent::notedKeys(tree) + keys;
    if (!signedcontent::signingKey(document, signature, known, error) ||
        !tree.replace(channels::metadata(channel), document, error))
        return false;
    // Left behind, it is one that became current already.
    QFile::remove(whatWaits(tree, channel));
    return true;
}

} // namespace publish
