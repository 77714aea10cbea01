#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/Passphrase.h"
#include "publish/SecretKey.h"

namespace publish {

int commands::key(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("key"),
                     QStringLiteral("Makes a pair of keys for signing: the file FILE with the "
                                    "secret one, encrypted by a passphrase, and FILE.pub with the "
                                    "public one, which launchers are built with. No file that is "
                                    "there is written over. The passphrase is asked for twice, or "
                                    "is the first line of standard input where nobody types."),
                     {QStringLiteral("FILE")});
    if (const auto code = line.parse(arguments))
        return *code;
    Console console(line.outputMode());
    const QString path = line.argument(0);
    QString error;
    Passphrase passphrase;
    if (!askNewPassphrase(passphrase, &error))
        return console.fail({error});
    const auto key = SecretKey::makeFiles(path, passphrase, usualPassphraseCost, &error);
    if (!key)
        return console.fail({error});
    const QString text = QString::fromLatin1(minisign::publicKeyText(*key));
    return console.succeed(
        {QStringLiteral("secret key: %1; keep a copy of it and of the passphrase where nobody else "
                        "gets at them")
             .arg(path),
         QStringLiteral("public key: %1").arg(text)},
        {{QStringLiteral("publickey"), text}, {QStringLiteral("id"), key->idText()}});
}

} // namespace publish
