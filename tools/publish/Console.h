#pragma once

#include "publish/Progress.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QStringList>

#include <mutex>

enum class OutputMode {
    Normal,
    /// Only faults.
    Quiet,
    /// One JSON object on standard output, nothing else.
    Json,
};

/// What the program tells its user. Results go to standard output; progress, warnings and faults to
/// standard error: progress as one line that is drawn anew on a terminal, and as a line every some
/// seconds elsewhere.
class Console : public Progress
{
public:
    explicit Console(OutputMode mode);

    void begin(const QString& what, qint64 bytes, qint64 files) override;
    void advance(qint64 bytes, qint64 files) override;
    void end() override;
    void warn(const QString& text) override;

    /// The command's end: a line for people, an object for scripts.
    void succeed(const QString& line, QJsonObject result);
    void fail(const QStringList& faults, QJsonObject result);

private:
    void draw(bool last);

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

/// A size for people, such as "3.4 MB".
[[nodiscard]] QString sizeText(qint64 bytes);

/// A time for people, such as "1:05" for 65 seconds.
[[nodiscard]] QString durationText(qint64 seconds);
