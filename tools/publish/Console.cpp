#include "publish/Console.h"

#include "package/Sizes.h"
#include "publish/QuantityText.h"
#include "publish/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace publish {

namespace {

constexpr qint64 terminalIntervalMs = 100;
constexpr qint64 logIntervalMs = 5000;

} // namespace

bool printResult(const QStringList& lines)
{
    if (printLines(Stream::Output, lines))
        return true;
    const QString reason = qt_error_string();
    tellErrors({QStringLiteral("standard output cannot be written: ") + reason});
    return false;
}

void tellErrors(const QStringList& lines)
{
    QStringList named;
    for (const QString& line : lines)
        named.append(QStringLiteral("vornak-publish: ") + line);
    // Nobody could be told that nobody can be told.
    [[maybe_unused]] const bool written = printLines(Stream::Errors, named);
}

Console::Console(OutputMode mode)
    : m_mode(mode)
    , m_terminal(isTerminal(Stream::Errors))
{}

void Console::begin(const QString& what, qint64 bytes, qint64 files)
{
    const std::lock_guard lock(m_mutex);
    m_what = what;
    m_bytes = 0;
    m_files = 0;
    m_totalBytes = bytes;
    m_totalFiles = files;
    m_clock.start();
    m_sinceDraw.start();
}

void Console::advance(qint64 bytes, qint64 files)
{
    const std::lock_guard lock(m_mutex);
    m_bytes = addSizes(m_bytes, bytes);
    m_files += files;
    if (m_sinceDraw.elapsed() >= (m_terminal ? terminalIntervalMs : logIntervalMs))
        draw(false);
}

void Console::end()
{
    const std::lock_guard lock(m_mutex);
    if (m_totalFiles > 0)
        draw(true);
}

void Console::draw(bool last)
{
    if (m_mode != OutputMode::Normal)
        return;
    m_sinceDraw.restart();
    const auto seconds = static_cast<double>(m_clock.elapsed()) / 1000;
    QString line =
        QStringLiteral("%1: %2 of %3, %4 of %5")
            .arg(m_what)
            .arg(m_files)
            .arg(countText(m_totalFiles, "file"), sizeText(m_bytes), sizeText(m_totalBytes));
    if (seconds > 0.05 && m_bytes > 0) {
        const double rate = static_cast<double>(m_bytes) / seconds;
        line += QStringLiteral(", %1/s").arg(sizeText(static_cast<qint64>(rate)));
        const auto left = static_cast<double>(m_totalBytes - m_bytes) / rate;
        line += last ? QStringLiteral(", took %1").arg(durationText(static_cast<qint64>(seconds)))
                     : QStringLiteral(", %1 left").arg(durationText(static_cast<qint64>(left)));
    }
    if (m_terminal)
        m_drawnLength = drawLine(Stream::Errors, line, m_drawnLength);
    if (last)
        m_drawnLength = 0;
    if (m_terminal && !last)
        return;
    [[maybe_unused]] const bool written =
        printLines(Stream::Errors, {m_terminal ? QString() : line});
}

void Console::warn(const QString& text)
{
    const std::lock_guard lock(m_mutex);
    m_warnings.append(text);
    if (m_mode == OutputMode::Normal)
        tellErrors({QStringLiteral("warning: ") + text});
}

ExitCode Console::succeed(const QStringList& lines, const QJsonObject& result)
{
    if (m_mode == OutputMode::Quiet)
        return Done;
    return printResult(m_mode == OutputMode::Json ? objectLines(true, result) : lines) ? Done
                                                                                       : Failed;
}

ExitCode Console::fail(const QStringList& faults, const QJsonObject& result)
{
    if (m_mode != OutputMode::Json) {
        tellErrors(faults);
        return Failed;
    }
    QJsonObject object = result;
    object.insert(QStringLiteral("faults"), QJsonArray::fromStringList(faults));
    [[maybe_unused]] const bool written = printResult(objectLines(false, object));
    return Failed;
}

QStringList Console::objectLines(bool ok, QJsonObject result) const
{
    result.insert(QStringLiteral("ok"), ok);
    if (!m_warnings.isEmpty())
        result.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(m_warnings));
    return QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Indented).trimmed())
        .split(u'\n');
}

} // namespace publish
