#include "publish/SignedVersions.h"

#include "package/SignedTerms.h"
#include "publish/Channels.h"
#include "publish/SignContent.h"
#include "publish/SigningKit.h"
#include "publish/SwitchVersion.h"

namespace publish {

bool SignedVersions::startSigning()
{
    signing = newSigning(*this, QStringLiteral("key"));
    if (!signing.signer)
        return false;
    keys = {*signing.signer->publicKey()};
    return true;
}

QStringList SignedVersions::sign()
{
    qsizetype documents = 0;
    return signContent(content(), signing, documents);
}

QStringList SignedVersions::switchTo(const QString& version, const QString& channel)
{
    return switchVersion({content(), {}, {}, version, channel, signing});
}

QByteArray SignedVersions::current(const QString& channel) const
{
    return served().value(channels::metadata(channel));
}

qint64 SignedVersions::serial(const QString& channel) const
{
    return readSignedTerms(current(channel)).serial;
}

QString SignedVersions::launchersFault(const QString& channel) const
{
    return publish::launchersFault(*this, keys, channel);
}

} // namespace publish
