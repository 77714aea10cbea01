#include "publish/SigningKit.h"

#include "package/Hashes.h"
#include "package/SignedTerms.h"
#include "publish/Channels.h"
#include "publish/Passphrase.h"

#include <QDateTime>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace publish {

namespace {

bool fill(Passphrase& passphrase, const QByteArray& text)
{
    return std::all_of(text.begin(), text.end(),
                       [&passphrase](char byte) { return passphrase.append(byte); });
}

} // namespace

std::optional<minisign::PublicKey> makeKey(const QString& path, const QByteArray& passphrase,
                                           QString* error)
{
    Passphrase secret;
    return fill(secret, passphrase) ? SecretKey::makeFiles(path, secret, leastPassphraseCost, error)
                                    : std::nullopt;
}

std::shared_ptr<const SecretKey> openKey(const QString& path, const QByteArray& passphrase,
                                         QString* error)
{
    return SecretKey::readFile(
        path, [&passphrase](Passphrase& into, QString*) { return fill(into, passphrase); }, error);
}

Signing newSigning(const PublishFixture& fixture, const QString& name)
{
    Signing signing;
    if (makeKey(fixture.path(name), "secret"))
        signing.signer = openKey(fixture.path(name), "secret");
    return signing;
}

QString launchersFault(const PublishFixture& fixture, const QList<minisign::PublicKey>& keys,
                       const QString& channel)
{
    const Files served = fixture.served();
    const QByteArray document = served.value(channels::metadata(channel));
    const QByteArray signature =
        served.value(channels::signatures(channel) + hashBytes(document) + u".minisig"_s);
    const QString fault = minisign::signatureFault(document, signature, keys);
    return fault.isEmpty() ? termsFault(readSignedTerms(document), u"http://server/"_s + channel, 0,
                                        QDateTime::currentDateTimeUtc())
                           : fault;
}

} // namespace publish
