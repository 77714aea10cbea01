#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/ContentFolder.h"
#include "publish/PendingMetadata.h"
#include "publish/PublishText.h"
#include "publish/SigningOptions.h"
#include "publish/SwitchVersion.h"

namespace publish {

namespace {

SwitchRequest switchRequest(const CommandLine& line)
{
    SwitchRequest request{line.argument(0), std::nullopt, std::nullopt, line.value("version"),
                          line.value("channel")};
    if (line.isSet("launcher"))
        request.product = Product{true, QString()};
    else if (line.isSet("directory"))
        request.product = Product{false, line.value("directory")};
    if (line.isSet("os"))
        request.platform = Platform{line.value("os"), line.value("architecture")};
    request.stage = line.isSet("stage");
    return request;
}

int tellSuccess(Console& console, const SwitchRequest& request)
{
    if (request.stage) {
        const QString path = ContentFolder(request.content).path(pending::address(request.channel));
        return console.succeed({toSignLine(path)}, {{QStringLiteral("tosign"), path}});
    }
    const QString where = request.channel.isEmpty()
                              ? QString()
                              : QStringLiteral(" in channel %1").arg(request.channel);
    return console.succeed({QStringLiteral("version %1 is current").arg(request.version) + where},
                           {{QStringLiteral("version"), request.version}});
}

} // namespace

int commands::switchTo(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("switch"),
                     QStringLiteral("Makes a version current that is already published: a rollback "
                                    "in one step. Nothing changes if any of its documents or "
                                    "packed files are missing. --os and --architecture are needed "
                                    "only when several platforms have the version, but not all."),
                     {QStringLiteral("CONTENT")});
    line.addOption("version", "The version to make current.", "VERSION");
    line.addOption("directory", "Folder of the package; needed when there are several.", "NAME");
    line.addOption("launcher", "Switches the launcher itself instead of a package.");
    line.addPlatformOptions("", "");
    line.addChannelOption("Switches what the players in this channel get.");
    line.addOption("stage",
                   "Only writes what has to be signed on another machine, where what is current "
                   "is signed and no key is given.");
    addSigningOptions(line);
    line.require("version");
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkSigningOptions(line, line.isSet("stage")))
        return *code;
    if (line.isSet("directory") && line.isSet("launcher"))
        return line.wrongUsage(QStringLiteral("--directory and --launcher exclude each other"));
    if (line.isSet("os") != line.isSet("architecture"))
        return line.wrongUsage(QStringLiteral("--os and --architecture go together"));
    SwitchRequest request = switchRequest(line);
    Console console(line.outputMode());
    QString error;
    const auto signing = readSigning(line, &error);
    if (!signing)
        return console.fail({error});
    request.signing = *signing;
    const QStringList faults = switchVersion(request);
    if (!faults.isEmpty())
        return console.fail(faults);
    return tellSuccess(console, request);
}

} // namespace publish
