#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/HintsPublication.h"
#include "publish/QuantityText.h"

namespace publish {

int commands::hints(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("hints"),
                     QStringLiteral("Checks the hints document FILE and installs it with the "
                                    "pictures that it names below \"/images/\"."),
                     {QStringLiteral("FILE"), QStringLiteral("CONTENT")});
    line.addOption(
        "images",
        "Folder of the pictures, laid out as below \"/images/\"; without it they must already "
        "be in the content.",
        "FOLDER");
    line.addOption("public-url",
                   "Writes an absolute address of the document, which begins with this one.",
                   "URL");
    line.addChannelOption("Installs the hints of this channel.");
    if (const auto code = line.parse(arguments))
        return *code;
    Console console(line.outputMode());
    HintsReport report;
    const QStringList faults =
        publishHints(line.argument(0), line.argument(1), line.value("images"), line.publicUrl(),
                     report, line.value("channel"));
    for (const QString& warning : std::as_const(report.warnings))
        console.warn(warning);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(
        {QStringLiteral("%1 with %2 installed")
             .arg(countText(report.hints, "hint"), countText(report.pictures, "picture"))},
        {{QStringLiteral("hints"), report.hints}, {QStringLiteral("pictures"), report.pictures}});
}

} // namespace publish
