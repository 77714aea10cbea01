#include "package/Utf8Locale.h"
#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/DiskSteps.h"

#include <QCoreApplication>

#include <lzma.h>

#include <array>

namespace publish {

namespace {

struct Command
{
    const char* name;
    const char* summary;
    int (*run)(const QStringList&);
};

constexpr std::array commandList{
    Command{"package", "Publishes a version of the client.", commands::package},
    Command{"launcher", "Publishes a version of the launcher itself.", commands::launcher},
    Command{"hints", "Checks and installs the hints and their pictures.", commands::hints},
    Command{"list", "Lists what is published, and what pruning would free.", commands::list},
    Command{"switch", "Makes an earlier version current again.", commands::switchTo},
    Command{"verify", "Checks everything that launchers would read.", commands::verify},
    Command{"remove", "Removes a build or a whole package.", commands::remove},
    Command{"prune", "Removes old versions and what only they need.", commands::prune},
    Command{"key", "Makes the keys that metadata is signed with.", commands::key},
    Command{"sign", "Signs what is current.", commands::sign},
};

QString helpText()
{
    QString text = QStringLiteral("Usage: vornak-publish COMMAND [options] ...\n"
                                  "Makes and maintains the content that game launchers read from a "
                                  "web server.\n\nCommands:\n");
    for (const Command& command : commandList)
        text += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1StringView(command.name), -10)
                    .arg(QLatin1StringView(command.summary));
    return text +
           QStringLiteral("\n'vornak-publish COMMAND --help' tells more.\n"
                          "Exit codes: 0 for success, 1 for faults in the input or the content and "
                          "for work that failed, 2 for wrong usage.\n");
}

int run(const QStringList& arguments)
{
    const QString first = arguments.value(0);
    if (first == QLatin1StringView("--help") || first == QLatin1StringView("-h") ||
        first == QLatin1StringView("help")) {
        return showText(helpText());
    }
    if (first == QLatin1StringView("--version")) {
        return showText(QStringLiteral("vornak-publish " VORNAK_PUBLISH_VERSION "\nliblzma %1")
                            .arg(QLatin1StringView(lzma_version_string())));
    }
    for (const Command& command : commandList) {
        if (first == QLatin1StringView(command.name))
            return command.run(arguments);
    }
    const QString fault = first.isEmpty() ? QStringLiteral("no command is given")
                                          : QStringLiteral("unknown command '%1'").arg(first);
    return tellWrongUsage(arguments, fault, QStringLiteral("--help"));
}

} // namespace

} // namespace publish

int main(int argc, char* argv[])
{
    // What Qt itself has to say may hold names, too.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
        publish::tellErrors({text});
    });
    publish::letEverybodyRead();
    Utf8Locale locale;
    const QCoreApplication application(argc, argv);
    locale.restoreEnvironment();
    return publish::run(QCoreApplication::arguments().sliced(1));
}
