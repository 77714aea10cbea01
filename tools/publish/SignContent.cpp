#include "publish/SignContent.h"

#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataWriter.h"

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

} // namespace publish
