#pragma once

#include "publish/Progress.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QStringList>

#include <mutex>

namespace publish {

/// How the program ends.
enum ExitCode {
    Done = 0,
    /// The input or the content has faults, or the work failed.
    Failed = 1,
    /// The command line makes no sense.
    WrongUsage = 2,
};

enum class OutputMode {
    Normal,
    /// Only faults.
    Quiet,
    /// One JSON object on standard output, nothing else.
    Json,
};

/// What the program tells its user. Results go to standard output; progress, warnings and faults to
/// standard error: progress as one line that is drawn anew on a terminal, and as a line every few
/// seconds elsewhere.
class Console : public Progress
{
public:
    explicit Console(OutputMode mode);

    void begin(const QString& what, qint64 bytes, qint64 files) override;
    void advance(qint64 bytes, qint64 files) override;
    void end() override;
    void warn(const QString& text) override;

    /// The command's end: lines for people, an object for scripts. Returns how the program ends: a
    /// result that could not be written is a failure, whatever the command did.
    [[nodiscard]] ExitCode succeed(const QStringList& lines, const QJsonObject& result);
    [[nodiscard]] ExitCode fail(const QStringList& faults, const QJsonObject& result = {});

private:
    void draw(bool last);
    [[nodiscard]] QStringList objectLines(bool ok, QJsonObject result) const;

    OutputMode m_mode;
    bool m_terminal;
    std::mutex m_mutex;
    QElapsedTimer m_clock;
    QElapsedTimer m_sinceDraw;
    // Of the line that stands on the terminal.
    qsizetype m_drawnLength = 0;
    QString m_what;
    qint64 m_bytes = 0;
    qint64 m_files = 0;
    qint64 m_totalBytes = 0;
    qint64 m_totalFiles = 0;
    QStringList m_warnings;
};

/// Writes a result to standard output. When that fails, standard error says why.
[[nodiscard]] bool printResult(const QStringList& lines);

/// Writes lines to standard error, each with the program's name before it.
void tellErrors(const QStringList& lines);

} // namespace publish
