#include "publish/CommandLine.h"

#include "publish/Channels.h"
#include "publish/Terminal.h"

#include <QThread>

#include <utility>

namespace publish {

namespace {

constexpr qint64 mebibyte = qint64(1) << 20;
constexpr int defaultMemory = 4096;

QString packingHelp()
{
    const PackLevel strongest;
    return QStringLiteral(
               "\n\nMemory: each thread packs one file and takes at most %1 MiB at the default "
               "level (less for a small file), however large the file is; all threads together "
               "stay within --memory.")
        .arg(encoderMemory(PackLevel::strongest << 24, strongest) / mebibyte + 1);
}

} // namespace

int tellWrongUsage(const QStringList& arguments, const QString& text, const QString& help)
{
    // The parser knows nothing of the options behind one that it does not know.
    const qsizetype end = arguments.indexOf(QLatin1StringView("--"));
    if (arguments.first(end < 0 ? arguments.size() : end).contains(QLatin1StringView("--json"))) {
        [[maybe_unused]] const ExitCode code = Console(OutputMode::Json).fail({text});
    } else {
        tellErrors({text});
        [[maybe_unused]] const bool written =
            printLines(Stream::Errors, {QStringLiteral("Try 'vornak-publish %1'.").arg(help)});
    }
    return WrongUsage;
}

int showText(const QString& text)
{
    return printResult(text.trimmed().split(u'\n')) ? Done : Failed;
}

CommandLine::CommandLine(QString command, const QString& description, QStringList positional)
    : m_command(std::move(command))
    , m_positional(std::move(positional))
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Shows this help.")});
    addOption("quiet", "Prints only faults.");
    addOption("json", "Prints the result as one JSON object on standard output.");
}

void CommandLine::addOption(const char* name, const char* description, const char* value,
                            const char* fallback)
{
    m_parser.addOption({QString::fromLatin1(name), QString::fromLatin1(description),
                        QString::fromLatin1(value), QString::fromLatin1(fallback)});
}

void CommandLine::addThreadOptions()
{
    m_hasThreads = true;
    addOption("threads",
              "Files to work on at the same time; as many as there are cores by default.", "N");
    addOption("memory",
              "Memory in MiB for the files being worked on; the others wait. 4096 by default.",
              "MIB");
}

void CommandLine::addPackingOptions()
{
    m_packs = true;
    addThreadOptions();
    addOption(
        "level",
        "How hard to pack: 0 (fast) to 8 (small), with e to try even harder. 8e, the default, is "
        "the strongest level that players unpack within 64 MiB.",
        "LEVEL", "8e");
    m_parser.setApplicationDescription(m_parser.applicationDescription() + packingHelp());
}

void CommandLine::addPlatformOptions(const char* fallbackOs, const char* fallbackArchitecture)
{
    addOption("os", "Operating system of the build.", "OS", fallbackOs);
    addOption("architecture", "Architecture of the build; several separated by \";\".", "ARCH",
              fallbackArchitecture);
}

void CommandLine::addChannelOption(const char* description)
{
    m_hasChannel = true;
    addOption("channel", description, "NAME");
}

std::optional<int> CommandLine::parse(const QStringList& arguments)
{
    m_arguments = arguments;
    const QStringList whole{QStringLiteral("vornak-publish")};
    if (!m_parser.parse(whole + arguments))
        return wrongUsage(m_parser.errorText());
    if (isSet("help")) {
        return showText(helpText());
    }
    // The command's own name is among the arguments, for the usage line's sake.
    const bool replaced = !m_replacement.isEmpty() && m_parser.isSet(m_replacement);
    const qsizetype least = m_positional.size() - (replaced ? 1 : 0);
    const qsizetype count = m_parser.positionalArguments().size() - 1;
    if (count < least)
        return wrongUsage(QStringLiteral("%1 is missing").arg(m_positional.at(count)));
    if (count > least)
        return wrongUsage(QStringLiteral("'%1' is one argument too many")
                              .arg(m_parser.positionalArguments().at(least + 1)));
    for (const QString& name : std::as_const(m_required)) {
        if (!m_parser.isSet(name))
            return wrongUsage(QStringLiteral("--%1 is missing").arg(name));
    }
    if (isSet("quiet") && isSet("json"))
        return wrongUsage(QStringLiteral("--quiet and --json exclude each other"));
    const QString channelFault =
        m_hasChannel && isSet("channel") ? channels::nameFault(value("channel")) : QString();
    if (!channelFault.isEmpty())
        return wrongUsage(channelFault);
    return m_hasThreads ? checkThreads() : std::nullopt;
}

std::optional<int> CommandLine::checkThreads()
{
    const std::optional<PackLevel> level = m_packs ? parsePackLevel(value("level")) : PackLevel();
    if (!level)
        return wrongUsage(QStringLiteral("'%1' is not a level from 0 to 8e").arg(value("level")));
    bool threadsFine = true;
    bool memoryFine = true;
    const int threads =
        isSet("threads") ? value("threads").toInt(&threadsFine) : QThread::idealThreadCount();
    const int memory = isSet("memory") ? value("memory").toInt(&memoryFine) : defaultMemory;
    if (!threadsFine || threads < 1)
        return wrongUsage(QStringLiteral("'%1' is not a number of threads").arg(value("threads")));
    const qint64 least = encoderMemory(qint64(1) << 31, *level) / mebibyte + 1;
    if (!memoryFine || memory < least)
        return wrongUsage(
            QStringLiteral("--memory must be a number of MiB from %1 on at this level").arg(least));
    m_packing.level = *level;
    m_packing.limits = {threads, memory * mebibyte};
    return std::nullopt;
}

// The parser knows nothing of commands, so the first line is ours.
QString CommandLine::helpText() const
{
    const QString text = m_parser.helpText();
    return QStringLiteral("Usage: vornak-publish %1 [options] %2")
               .arg(m_command, m_positional.join(u' ')) +
           text.sliced(text.indexOf(u'\n'));
}

bool CommandLine::isSet(const char* name) const
{
    return m_parser.isSet(QString::fromLatin1(name));
}

QString CommandLine::value(const char* name) const
{
    return m_parser.value(QString::fromLatin1(name));
}

QStringList CommandLine::values(const char* name) const
{
    return m_parser.values(QString::fromLatin1(name));
}

std::optional<QString> CommandLine::given(const char* name) const
{
    return isSet(name) ? std::optional(value(name)) : std::nullopt;
}

QString CommandLine::argument(qsizetype index) const
{
    return m_parser.positionalArguments().value(index + 1);
}

QString CommandLine::publicUrl() const
{
    QString url = value("public-url");
    while (url.endsWith(u'/'))
        url.chop(1);
    return url;
}

OutputMode CommandLine::outputMode() const
{
    return isSet("json")    ? OutputMode::Json
           : isSet("quiet") ? OutputMode::Quiet
                            : OutputMode::Normal;
}

int CommandLine::wrongUsage(const QString& text) const
{
    return tellWrongUsage(m_arguments, text, m_command + QLatin1StringView(" --help"));
}

} // namespace publish
