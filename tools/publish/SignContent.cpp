#include "publish/SignContent.h"

#include "package/TransferLimits.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataWriter.h"
#include "publish/PendingMetadata.h"

#include <QFile>

namespace publish {

QStringList signContent(const QString& content, const Signing& signing, qsizetype& documents)
{
    ContentFolder tree(content);
    QString error;
    if (!channels::isPublished(tree, &error) || !tree.openForWriting(&error) || !tree.sync(&error))
        return {error};
    MetadataWriter writer(tree, signing);
    for (const QString& channel : QStringList(QString()) + channels::all(tree)) {
        if (!writer.renew(channel, &error))
            return {error};
        ++documents;
    }
    return {};
}

QStringList takeSignature(const QString& content, const QString& channel, const QString& file,
                          const QList<minisign::PublicKey>& keys)
{
    QFile signature(file);
    if (!signature.open(QIODevice::ReadOnly))
        return {QStringLiteral("%1: cannot be read: %2").arg(file, signature.errorString())};
    ContentFolder tree(content);
    QString error;
    const bool done = channels::isPublished(tree, &error) && tree.openForWriting(&error) &&
                      pending::addSignature(
                          tree, channel, signature.read(transferlimits::signature), keys, &error);
    return done ? QStringList() : QStringList(error);
}

} // namespace publish
