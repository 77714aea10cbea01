#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/FolderSource.h"
#include "publish/QuantityText.h"
#include "publish/SigningOptions.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QUrl>

namespace publish {

namespace {

void addOptions(CommandLine& line)
{
    line.addOption("url",
                   "Reads from the web server with this base address, as launchers do, instead of "
                   "from a folder, and checks the headers that caches go by.",
                   "BASE");
    line.addChannelOption(
        "Reads what the players in this channel get; with --url, the channel is a "
        "part of the address.");
    line.addOption("version",
                   "Checks the builds of this version, current or not, instead of what is current.",
                   "VERSION");
    line.addOption("all", "Checks every version that is there, current or not.");
    line.addOption(
        "quick",
        "Reads the documents, but only checks that packed files and pictures are there with "
        "the right sizes: for a check every minute.");
    line.addOption("key",
                   "Checks signatures as a launcher does that was built with this public key, or "
                   "that in this file; may be given several times.",
                   "PUB");
    line.addThreadOptions();
    line.replaceFirstArgumentBy("url");
}

// The exit code when the options do not go together.
std::optional<int> checkOptions(const CommandLine& line)
{
    const QString url = line.value("url");
    const bool isVersions = line.isSet("all") || line.isSet("version");
    if (line.isSet("url") && !QUrl(url).scheme().startsWith(QLatin1StringView("http")))
        return line.wrongUsage(QStringLiteral("'%1' is not an http or https address").arg(url));
    if (line.isSet("url") && line.isSet("channel"))
        return line.wrongUsage(QStringLiteral("--url and --channel exclude each other"));
    if (line.isSet("all") && line.isSet("version"))
        return line.wrongUsage(QStringLiteral("--all and --version exclude each other"));
    if (isVersions && line.isSet("channel"))
        return line.wrongUsage(QStringLiteral("a channel has no versions of its own; leave "
                                              "--channel out with --version and --all"));
    return std::nullopt;
}

std::unique_ptr<ContentSource> sourceFor(const CommandLine& line)
{
    if (line.isSet("url"))
        return std::make_unique<WebSource>(line.value("url"));
    return std::make_unique<FolderSource>(line.argument(0), line.value("channel"));
}

QJsonObject verifyObject(const VerifyReport& report)
{
    QJsonObject object{
        {QStringLiteral("builds"), report.builds},
        {QStringLiteral("files"), report.files},
        {QStringLiteral("packedbytes"), report.packedBytes},
        {QStringLiteral("unpackedbytes"), report.unpackedBytes},
    };
    if (report.serial > 0)
        object.insert(QStringLiteral("serial"), report.serial);
    if (!report.expires.isEmpty())
        object.insert(QStringLiteral("expires"), report.expires);
    return object;
}

QString verifyLine(const VerifyReport& report, bool quick)
{
    const QString line =
        QStringLiteral("no fault in %1, %2 of %3")
            .arg(countText(report.builds, "build"), countText(report.files, "packed file"),
                 sizeText(report.packedBytes));
    return line + (quick ? QStringLiteral("; their contents were not read")
                         : QStringLiteral(", %1 unpacked").arg(sizeText(report.unpackedBytes)));
}

} // namespace

int commands::verify(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("verify"),
                     QStringLiteral("Reads everything that the launcher metadata reaches and lists "
                                    "every fault, with what mends it. Exits with 1 if there is "
                                    "any."),
                     {QStringLiteral("CONTENT")});
    addOptions(line);
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkOptions(line))
        return *code;
    VerifyOptions options{line.isSet("quick"), line.isSet("all"), line.value("version"),
                          line.value("channel")};
    Console console(line.outputMode());
    QString error;
    const auto keys = readKeys(line, &error);
    if (!keys)
        return console.fail({error});
    options.keys = *keys;
    if (!line.isSet("url") && !QFileInfo(line.argument(0)).isDir())
        return console.fail({QStringLiteral("%1: no such folder").arg(line.argument(0))});
    // Failed downloads are listed as faults; the client's own log would tell them twice.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    const auto source = sourceFor(line);
    VerifyReport report;
    const QStringList faults =
        verifyContent(*source, options, line.packSettings().limits, console, report);
    if (!faults.isEmpty())
        return console.fail(faults, verifyObject(report));
    return console.succeed({verifyLine(report, options.quick)}, verifyObject(report));
}

} // namespace publish
