#include "publish/Console.h"

#include "package/Sizes.h"
#include "publish/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <array>

namespace {

constexpr qint64 terminalIntervalMs = 100;
constexpr qint64 logIntervalMs = 5000;

} // namespace

QString sizeText(qint64 bytes)
{
    static constexpr std::array units{"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 999.5 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    return QStringLiteral("%1 %2").arg(
        QString::number(value, 'f', unit > 0 && value < 99.95 ? 1 : 0),
        QLatin1StringView(units[unit]));
}

QString durationText(qint64 seconds)
{
    const QString tail = QStringLiteral("%1:%2")
                             .arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QChar(u'0'))
                             .arg(seconds % 60, 2, 10, QChar(u'0'));
    return seconds < 3600 ? tail : QStringLiteral("%1:%2").arg(seconds / 3600).arg(tail);
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
    QString line = QStringLiteral("%1: %2 of %3 files, %4 of %5")
                       .arg(m_what)
                       .arg(m_files)
                       .arg(m_totalFiles)
                       .arg(sizeText(m_bytes), sizeText(m_totalBytes));
    if (seconds > 0.05 && m_bytes > 0) {
        const double rate = static_cast<double>(m_bytes) / seconds;
        line += QStringLiteral(", %1/s").arg(sizeText(static_cast<qint64>(rate)));
        const auto left = static_cast<double>(m_totalBytes - m_bytes) / rate;
        line += last ? QStringLiteral(", took %1").arg(durationText(static_cast<qint64>(seconds)))
                     : QStringLiteral(", %1 left").arg(durationText(static_cast<qint64>(left)));
    }
    if (m_terminal) {
        // A shorter line leaves nothing of a longer one. Blanks do that on every terminal.
        const qsizetype length = line.size();
        line = u'\r' + line.leftJustified(m_drawnLength);
        m_drawnLength = last ? 0 : length;
    }
    print(Stream::Errors, !m_terminal || last ? line + u'\n' : line);
}

void Console::warn(const QString& text)
{
    const std::lock_guard lock(m_mutex);
    m_warnings.append(text);
    if (m_mode == OutputMode::Normal)
        print(Stream::Errors, QStringLiteral("vornak-publish: warning: %1\n").arg(text));
}

void Console::succeed(const QString& line, QJsonObject result)
{
    result.insert(QStringLiteral("ok"), true);
    if (!m_warnings.isEmpty())
        result.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(m_warnings));
    if (m_mode == OutputMode::Normal)
        print(Stream::Output, line + u'\n');
    else if (m_mode == OutputMode::Json)
        print(Stream::Output,
              QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Indented)));
}

void Console::fail(const QStringList& faults, QJsonObject result)
{
    result.insert(QStringLiteral("ok"), false);
    result.insert(QStringLiteral("faults"), QJsonArray::fromStringList(faults));
    if (!m_warnings.isEmpty())
        result.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(m_warnings));
    if (m_mode == OutputMode::Json)
        print(Stream::Output,
              QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Indented)));
    else
        for (const QString& fault : faults)
            print(Stream::Errors, QStringLiteral("vornak-publish: %1\n").arg(fault));
}
