#include "publish/Terminal.h"

#include <QByteArray>

#include <array>
#include <csignal>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace publish {

namespace {

// Lets a signal end the reading instead of the process, which would leave the terminal without
// echo.
class ReadingBreaks
{
public:
    ReadingBreaks()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        for (std::size_t i = 0; i < m_signals.size(); ++i)
            ::sigaction(m_signals.at(i), &action, &m_before.at(i));
    }

    ~ReadingBreaks()
    {
        for (std::size_t i = 0; i < m_signals.size(); ++i)
            ::sigaction(m_signals.at(i), &m_before.at(i), nullptr);
    }

    Q_DISABLE_COPY_MOVE(ReadingBreaks)

private:
    static constexpr std::array m_signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, m_signals.size()> m_before{};
};

bool readLine(const std::function<void(char)>& take)
{
    for (bool isFirst = true;; isFirst = false) {
        char byte = 0;
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count < 0)
            return false;
        if (count == 0)
            return !isFirst;
        if (byte == '\n')
            return true;
        take(byte);
    }
}

} // namespace

bool writeText(Stream stream, const QString& text)
{
    std::FILE* file = stream == Stream::Output ? stdout : stderr;
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, file) == size && std::fflush(file) == 0;
}

bool isTerminal(Stream stream)
{
    const int descriptor = stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO;
    return ::isatty(descriptor) != 0 && qgetenv("TERM") != "dumb";
}

bool isInputTyped()
{
    return ::isatty(STDIN_FILENO) != 0;
}

bool readHiddenLine(const std::function<void(char byte)>& take)
{
    termios before = {};
    if (::tcgetattr(STDIN_FILENO, &before) != 0)
        return readLine(take);
    const ReadingBreaks breaks;
    termios hidden = before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    const bool isThere = readLine(take);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
    return isThere;
}

} // namespace publish
