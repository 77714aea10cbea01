#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/QuantityText.h"
#include "publish/SignContent.h"
#include "publish/SigningOptions.h"

namespace publish {

namespace {

int takeSignature(const CommandLine& line)
{
    for (const char* other : {"sign-with", "expires-in", "unsigned"}) {
        if (line.isSet(other))
            return line.wrongUsage(QStringLiteral("--signature and --%1 exclude each other")
                                       .arg(QLatin1StringView(other)));
    }
    Console console(line.outputMode());
    QString error;
    const auto keys = readKeys(line, &error);
    if (!keys)
        return console.fail({error});
    const QStringList faults = publish::takeSignature(line.argument(0), line.value("channel"),
                                                      line.value("signature"), *keys);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed({QStringLiteral("signed; 'switch' makes it current")}, {});
}

} // namespace

int commands::sign(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("sign"),
                     QStringLiteral("Signs what is current, for everybody and in each channel: for "
                                    "the first time, with another key, or for another time."),
                     {QStringLiteral("CONTENT")});
    addSigningOptions(line);
    line.addOption("signature",
                   "Takes this file, the signature of what 'package --stage' or 'switch --stage' "
                   "wrote, which was made on another machine; 'switch' then makes that current.",
                   "FILE");
    line.addChannelOption("Takes the signature of what waits in this channel.");
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkSigningOptions(line))
        return *code;
    if (line.isSet("signature"))
        return takeSignature(line);
    if (line.isSet("channel"))
        return line.wrongUsage(QStringLiteral("--channel needs --signature"));
    Console console(line.outputMode());
    QString error;
    const auto signing = readSigning(line, &error);
    if (!signing)
        return console.fail({error});
    if (!signing->signer && !signing->endSigning)
        return line.wrongUsage(QStringLiteral("--sign-with is missing"));
    qsizetype documents = 0;
    const QStringList faults = signContent(line.argument(0), *signing, documents);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(
        {signing->endSigning ? QStringLiteral("nothing is signed any more")
                             : QStringLiteral("%1 signed").arg(countText(documents, "document"))},
        {{QStringLiteral("documents"), documents}});
}

} // namespace publish
