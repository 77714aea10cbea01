#pragma once

#include "publish/Console.h"
#include "publish/PackStore.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

/// Tells what is wrong with the arguments, and where help is: `help` are the words after the
/// program's name. As JSON when the arguments ask for it, even if they cannot be parsed. Returns
/// the program's exit code.
[[nodiscard]] int tellWrongUsage(const QStringList& arguments, const QString& text,
                                 const QString& help);

/// Shows lines that were asked for; returns the program's exit code.
[[nodiscard]] int showText(const QString& text);

/// The options that all commands have, and the reading of one command's line.
class CommandLine
{
public:
    /// `positional` are the names of the arguments without an option, in order.
    CommandLine(QString command, const QString& description, QStringList positional);

    void addOption(const char* name, const char* description, const char* value = "",
                   const char* fallback = "");
    /// --threads and --memory.
    void addThreadOptions();
    /// The same and --level, and what packing needs.
    void addPackingOptions();
    /// --os and --architecture, whose help says what leaving them out means.
    void addPlatformOptions(const char* fallbackOs, const char* fallbackArchitecture);

    /// --channel, whose value is checked.
    void addChannelOption(const char* description);

    /// Parses the arguments behind the command's name. A number when the program ends right here:
    /// help was shown, or the usage is wrong, which has been told.
    [[nodiscard]] std::optional<int> parse(const QStringList& arguments);

    [[nodiscard]] bool isSet(const char* name) const;
    [[nodiscard]] QString value(const char* name) const;
    [[nodiscard]] QStringList values(const char* name) const;
    /// Only if the option was given.
    [[nodiscard]] std::optional<QString> given(const char* name) const;
    [[nodiscard]] QString argument(qsizetype index) const;
    /// The value of --public-url without slashes at its end.
    [[nodiscard]] QString publicUrl() const;
    [[nodiscard]] OutputMode outputMode() const;
    [[nodiscard]] PackSettings packSettings() const { return m_packing; }

    /// Tells what is wrong and where help is; returns the program's exit code.
    [[nodiscard]] int wrongUsage(const QString& text) const;

    /// Values of these options must be given.
    void require(const char* name) { m_required.append(QLatin1StringView(name)); }
    /// Lets the first positional argument be left out when this option is given.
    void replaceFirstArgumentBy(const char* option) { m_replacement = QLatin1StringView(option); }

private:
    [[nodiscard]] std::optional<int> checkThreads();
    [[nodiscard]] QString helpText() const;

    QString m_command;
    QStringList m_arguments;
    QStringList m_positional;
    QStringList m_required;
    QString m_replacement;
    QCommandLineParser m_parser;
    PackSettings m_packing;
    bool m_hasThreads = false;
    bool m_packs = false;
    bool m_hasChannel = false;
};

} // namespace publish
