#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/Publication.h"
#include "publish/PublishRequest.h"
#include "publish/PublishText.h"
#include "publish/SigningOptions.h"

namespace publish {

namespace {

void addBuildOptions(CommandLine& line)
{
    line.addOption("version", "Text that names the version; no earlier version may have had it.",
                   "VERSION");
    line.addOption("executable", "The program to start, as a path below INPUT.", "PATH");
    line.addOption("public-url",
                   "Writes absolute addresses that begin with this one; without it they are "
                   "relative, and the content can be served from anywhere.",
                   "URL");
    line.addPlatformOptions("windows", "x86_64");
    line.addPackingOptions();
    line.addOption(
        "stage",
        "Publishes the version without making it current; 'switch' does that. In signed content, "
        "without a key, it writes what has to be signed on another machine first.");
    line.addChannelOption("Makes the version current for the players in this channel only.");
    line.addOption("reread",
                   "Also reads files that have not changed since the last publication, and "
                   "packed files; mends damaged ones.");
    line.addOption("dry-run", "Only tells what would be published and what players would "
                              "download.");
    addSigningOptions(line);
    line.require("version");
    line.require("executable");
}

PublishRequest buildRequest(const CommandLine& line)
{
    PublishRequest request;
    request.input = line.argument(0);
    request.content = line.argument(1);
    request.version = line.value("version");
    request.executable = line.value("executable");
    request.platform = {line.value("os"), line.value("architecture")};
    request.publicUrl = line.publicUrl();
    request.packing = line.packSettings();
    request.packing.reread = line.isSet("reread");
    request.channel = line.value("channel");
    request.stage = line.isSet("stage");
    request.dryRun = line.isSet("dry-run");
    return request;
}

void addPackageOptions(CommandLine& line)
{
    line.addOption("directory", "Folder of the package on the player's machine.", "NAME", "Quelra");
    line.addOption("name",
                   "Name of the package for players. This option and the next four keep their last "
                   "value when they are not given.",
                   "NAME");
    line.addOption("variant", "Variant word of the package.", "WORD");
    line.addOption("logo-link", "Where the maker's logo leads.", "URL");
    line.addOption("install-automatically",
                   "Launchers install without a click while nothing is installed.");
    line.addOption("install-on-click",
                   "Launchers install only after a click, as they do at first.");
    line.addOption("generation",
                   "Free text of this version, which is written to the client's package.json.",
                   "TEXT");
    line.addOption(
        "assets",
        "Delivers the files in this folder as assets. A folder of this name in INPUT comes first; "
        "otherwise it is a folder of its own.",
        "FOLDER");
}

// Nothing when the options go together.
std::optional<int> checkWhere(const CommandLine& line)
{
    if (!line.isSet("channel"))
        return std::nullopt;
    if (line.isSet("stage"))
        return line.wrongUsage(QStringLiteral("--stage and --channel exclude each other"));
    if (line.isSet("public-url"))
        return line.wrongUsage(QStringLiteral("--public-url and --channel exclude each other: the "
                                              "addresses in a channel are relative"));
    return std::nullopt;
}

int run(const CommandLine& line, PublishRequest& request)
{
    Console console(line.outputMode());
    QString error;
    const auto signing = request.dryRun ? Signing() : readSigning(line, &error);
    if (!signing)
        return console.fail({error});
    request.signing = *signing;
    PublishReport report;
    const QStringList faults = publishVersion(request, console, report);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(publishLines(request, report), publishObject(request, report));
}

} // namespace

int commands::package(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("package"),
                     QStringLiteral("Publishes the client in the folder INPUT as a version of a "
                                    "package and makes it the current one."),
                     {QStringLiteral("INPUT"), QStringLiteral("CONTENT")});
    addBuildOptions(line);
    addPackageOptions(line);
    if (const auto code = line.parse(arguments))
        return *code;
    if (line.isSet("install-automatically") && line.isSet("install-on-click"))
        return line.wrongUsage(
            QStringLiteral("--install-automatically and --install-on-click exclude each other"));
    if (const auto code = checkWhere(line))
        return *code;
    if (const auto code = checkSigningOptions(line, line.isSet("stage")))
        return *code;
    PublishRequest request = buildRequest(line);
    request.product = {false, line.value("directory")};
    request.generation = line.value("generation");
    request.assets = line.value("assets");
    request.labels = {line.given("name"), line.given("variant"), line.given("logo-link"),
                      std::nullopt};
    if (line.isSet("install-automatically") || line.isSet("install-on-click"))
        request.labels.installAutomatically = line.isSet("install-automatically");
    return run(line, request);
}

int commands::launcher(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("launcher"),
        QStringLiteral("Publishes the launcher build in the folder INPUT, which replaces launchers "
                       "of any other version at their next start. The version must be the one that "
                       "the build itself was made with."),
        {QStringLiteral("INPUT"), QStringLiteral("CONTENT")});
    addBuildOptions(line);
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkWhere(line))
        return *code;
    if (const auto code = checkSigningOptions(line, line.isSet("stage")))
        return *code;
    PublishRequest request = buildRequest(line);
    request.product = {true, QString()};
    return run(line, request);
}

} // namespace publish
