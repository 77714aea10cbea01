#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/FolderSource.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/Prune.h"
#include "publish/QuantityText.h"
#include "publish/SwitchVersion.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QLoggingCategory>
#include <QUrl>

namespace publish {

namespace {

QJsonObject verifyObject(const VerifyReport& report)
{
    return {
        {QStringLiteral("builds"), report.builds},
        {QStringLiteral("files"), report.files},
        {QStringLiteral("packedbytes"), report.packedBytes},
        {QStringLiteral("unpackedbytes"), report.unpackedBytes},
    };
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

std::unique_ptr<ContentSource> sourceFor(const CommandLine& line)
{
    if (line.isSet("url"))
        return std::make_unique<WebSource>(line.value("url"));
    return std::make_unique<FolderSource>(line.argument(0), line.value("channel"));
}

QString pruneLine(const PruneReport& report, bool dryRun)
{
    const qsizetype left = report.keptVersions.size();
    return QStringLiteral("%1 %2 and %3 of %4; %5 %6")
        .arg(dryRun ? QStringLiteral("would remove") : QStringLiteral("removed"),
             countText(report.removedVersions.size(), "version"),
             countText(report.removedFiles, "packed file"), sizeText(report.removedBytes),
             countText(left, "version"),
             left == 1 ? QStringLiteral("stays") : QStringLiteral("stay"));
}

} // namespace

int commands::switchTo(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("switch"),
                     QStringLiteral("Makes a version current that was published before: a rollback "
                                    "in one step. Nothing changes when its documents or packed "
                                    "files are not all there. --os and --architecture are needed "
                                    "only when several platforms have the version."),
                     {QStringLiteral("CONTENT")});
    line.addOption("version", "The version.", "VERSION");
    line.addOption("directory", "Folder of the package; needed when there are several.", "NAME");
    line.addOption("launcher", "Switches the launcher itself instead of a package.");
    line.addPlatformOptions("", "");
    line.addChannelOption("Switches what the players in this channel get.");
    line.require("version");
    if (const auto code = line.parse(arguments))
        return *code;
    if (line.isSet("directory") && line.isSet("launcher"))
        return line.wrongUsage(QStringLiteral("--directory and --launcher exclude each other"));
    if (line.isSet("os") != line.isSet("architecture"))
        return line.wrongUsage(QStringLiteral("--os and --architecture go together"));
    SwitchRequest request{line.argument(0), std::nullopt, std::nullopt, line.value("version"),
                          line.value("channel")};
    if (line.isSet("launcher"))
        request.product = Product{true, QString()};
    else if (line.isSet("directory"))
        request.product = Product{false, line.value("directory")};
    if (line.isSet("os"))
        request.platform = Platform{line.value("os"), line.value("architecture")};
    Console console(line.outputMode());
    const QStringList faults = switchVersion(request);
    if (!faults.isEmpty())
        return console.fail(faults);
    const QString where = request.channel.isEmpty()
                              ? QString()
                              : QStringLiteral(" in channel %1").arg(request.channel);
    return console.succeed({QStringLiteral("version %1 is current").arg(request.version) + where},
                           {{QStringLiteral("version"), request.version}});
}

int commands::verify(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("verify"),
                     QStringLiteral("Reads everything that the launcher metadata reaches and lists "
                                    "every fault, with what mends it. Exits with 1 when there is "
                                    "one."),
                     {QStringLiteral("CONTENT")});
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
    line.addOption("quick",
                   "Only looks whether packed files and pictures are there with their sizes, and "
                   "reads the documents: for a check every minute.");
    line.addThreadOptions();
    line.replaceFirstArgumentBy("url");
    if (const auto code = line.parse(arguments))
        return *code;
    const QString url = line.value("url");
    if (line.isSet("url") && !QUrl(url).scheme().startsWith(QLatin1StringView("http")))
        return line.wrongUsage(QStringLiteral("'%1' is not an http or https address").arg(url));
    if (line.isSet("url") && line.isSet("channel"))
        return line.wrongUsage(QStringLiteral("--url and --channel exclude each other"));
    const VerifyOptions options{line.isSet("quick"), line.isSet("all"), line.value("version"),
                                line.value("channel")};
    if (options.all && line.isSet("version"))
        return line.wrongUsage(QStringLiteral("--all and --version exclude each other"));
    if ((options.all || line.isSet("version")) && line.isSet("channel"))
        return line.wrongUsage(QStringLiteral("a channel has no versions of its own; leave "
                                              "--channel out with --version and --all"));
    Console console(line.outputMode());
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

int commands::prune(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("prune"),
                     QStringLiteral("Removes old versions, and packed files that no version needs "
                                    "any more. Players who are installing an old version at this "
                                    "moment fail and begin anew, so keep what was current lately."),
                     {QStringLiteral("CONTENT")});
    line.addOption("keep",
                   "How many of the latest versions to keep besides the current one; the versions "
                   "of each package and of the launcher count for themselves.",
                   "N");
    line.addOption("dry-run", "Only tells what would be removed; needs no right to write.");
    line.require("keep");
    if (const auto code = line.parse(arguments))
        return *code;
    bool isNumber = false;
    const int keep = line.value("keep").toInt(&isNumber);
    if (!isNumber || keep < 0)
        return line.wrongUsage(
            QStringLiteral("'%1' is not a number of versions").arg(line.value("keep")));
    Console console(line.outputMode());
    PruneReport report;
    const bool dryRun = line.isSet("dry-run");
    const QStringList faults = pruneVersions(line.argument(0), keep, dryRun, console, report);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(
        {pruneLine(report, dryRun)},
        {{QStringLiteral("kept"), QJsonArray::fromStringList(report.keptVersions)},
         {QStringLiteral("removed"), QJsonArray::fromStringList(report.removedVersions)},
         {QStringLiteral("removedfiles"), report.removedFiles},
         {QStringLiteral("removedbytes"), report.removedBytes}});
}

} // namespace publish
