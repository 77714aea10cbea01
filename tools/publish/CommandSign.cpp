#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/QuantityText.h"
#include "publish/SignContent.h"
#include "publish/SigningOptions.h"

namespace publish {

int commands::sign(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("sign"),
                     QStringLiteral("Signs what is current, for everybody and in each channel: for "
                                    "the first time, with another key, or for another time."),
                     {QStringLiteral("CONTENT")});
    addSigningOptions(line);
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkSigningOptions(line))
        return *code;
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
