#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/Platform.h"
#include "publish/QuantityText.h"
#include "publish/RemoveBuilds.h"
#include "publish/SigningOptions.h"

#include <QJsonArray>

namespace publish {

namespace {

RemoveRequest removeRequest(const CommandLine& line)
{
    RemoveRequest request{line.argument(0),
                          {line.isSet("launcher"), line.value("directory")},
                          std::nullopt,
                          line.isSet("dry-run")};
    if (line.isSet("os"))
        request.platform = Platform{line.value("os"), line.value("architecture")};
    return request;
}

QString removeLine(const RemoveRequest& request, const RemoveReport& report)
{
    const QString what =
        request.platform ? QStringLiteral(" for %1").arg(request.platform->label()) : QString();
    return QStringLiteral("%1 %2 of %3%4; 'prune' removes the packed files that nothing else needs")
        .arg(request.dryRun ? QStringLiteral("would remove") : QStringLiteral("removed"),
             countText(report.removedBuilds.size(), "build"), request.product.label(), what);
}

} // namespace

int commands::remove(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("remove"),
                     QStringLiteral("Removes the builds for one platform, in all versions and "
                                    "channels, or a whole package. Games that players have "
                                    "installed stay. Only documents are removed: packed files that "
                                    "nothing else needs stay until the next 'prune', so that "
                                    "players who are installing them can finish."),
                     {QStringLiteral("CONTENT")});
    line.addOption("directory", "Folder of the package.", "NAME");
    line.addOption("launcher", "Removes builds of the launcher itself instead of a package's.");
    line.addPlatformOptions("", "");
    line.addOption("dry-run", "Only tells what would be removed; needs no write permission.");
    addSigningOptions(line);
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkSigningOptions(line))
        return *code;
    if (line.isSet("directory") == line.isSet("launcher"))
        return line.wrongUsage(QStringLiteral("either --directory or --launcher is needed"));
    if (line.isSet("os") != line.isSet("architecture"))
        return line.wrongUsage(QStringLiteral("--os and --architecture go together"));
    RemoveRequest request = removeRequest(line);
    Console console(line.outputMode());
    QString error;
    const auto signing = request.dryRun ? Signing() : readSigning(line, &error);
    if (!signing)
        return console.fail({error});
    request.signing = *signing;
    RemoveReport report;
    const QStringList faults = removeBuilds(request, console, report);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(
        {removeLine(request, report)},
        {{QStringLiteral("dryrun"), request.dryRun},
         {QStringLiteral("removed"), QJsonArray::fromStringList(report.removedBuilds)}});
}

} // namespace publish
