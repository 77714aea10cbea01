#include "publish/SigningOptions.h"

#include "package/Failure.h"
#include "publish/CommandLine.h"
#include "publish/Passphrase.h"
#include "publish/SecretKey.h"
#include "publish/SigningProgram.h"

#include <QFile>

namespace publish {

namespace {

constexpr int mostDays = 3650;

QString signingProgram()
{
    return qEnvironmentVariable("VORNAK_SIGN_METADATA");
}

bool hasSigner(const CommandLine& line)
{
    return line.isSet("sign-with") || !signingProgram().isEmpty();
}

std::shared_ptr<const MetadataSigner> signerOf(const CommandLine& line, QString* error)
{
    if (!line.isSet("sign-with"))
        return std::make_shared<SigningProgram>(signingProgram());
    const QString path = line.value("sign-with");
    return SecretKey::readFile(
        path,
        [&path](Passphrase& passphrase, QString* fault) {
            return askPassphrase(QStringLiteral("Passphrase for %1: ").arg(path), passphrase,
                                 fault);
        },
        error);
}

} // namespace

void addSigningOptions(CommandLine& line)
{
    line.addOption("sign-with",
                   "Signs with the secret key in this file; asks for its passphrase. Without it, "
                   "the program signs that VORNAK_SIGN_METADATA names.",
                   "FILE");
    line.addOption("key",
                   "A public key whose signatures count, or its file; may be given several times. "
                   "Keys that have signed here before count anyway.",
                   "PUB");
    line.addOption("expires-in",
                   "How many days launchers may use what is signed, 1 to 3650; for ever by "
                   "default.",
                   "DAYS");
    line.addOption("unsigned", "Ends the signing: launchers with a key take nothing from then on.");
}

std::optional<int> checkSigningOptions(const CommandLine& line, bool isForLater)
{
    if (line.isSet("unsigned") && line.isSet("sign-with"))
        return line.wrongUsage(QStringLiteral("--unsigned and --sign-with exclude each other"));
    if (!line.isSet("expires-in"))
        return std::nullopt;
    if (line.isSet("unsigned") || !(hasSigner(line) || isForLater))
        return line.wrongUsage(QStringLiteral("--expires-in needs --sign-with"));
    bool isNumber = false;
    const int days = line.value("expires-in").toInt(&isNumber);
    if (!isNumber || days < 1 || days > mostDays)
        return line.wrongUsage(QStringLiteral("'%1' is not a number of days from 1 to %2")
                                   .arg(line.value("expires-in"))
                                   .arg(mostDays));
    return std::nullopt;
}

std::optional<Signing> readSigning(const CommandLine& line, QString* error)
{
    Signing signing;
    const auto keys = readKeys(line, error);
    if (!keys)
        return std::nullopt;
    signing.keys = *keys;
    signing.expiresInDays = line.value("expires-in").toInt();
    signing.endSigning = line.isSet("unsigned");
    if (signing.endSigning || !hasSigner(line))
        return signing;
    signing.signer = signerOf(line, error);
    return signing.signer ? std::optional(signing) : std::nullopt;
}

std::optional<QList<minisign::PublicKey>> readKeys(const CommandLine& line, QString* error)
{
    constexpr qint64 most = 4096;
    QList<minisign::PublicKey> keys;
    for (const QString& value : line.values("key")) {
        QFile file(value);
        const QByteArray text = file.open(QIODevice::ReadOnly) ? file.read(most) : value.toUtf8();
        const auto key = minisign::readPublicKey(text);
        if (!key) {
            fail(error, QStringLiteral("%1: neither a public key nor a file of one").arg(value));
            return std::nullopt;
        }
        keys.append(*key);
    }
    return keys;
}

} // namespace publish
