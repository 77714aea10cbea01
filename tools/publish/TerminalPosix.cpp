#include "publish/Terminal.h"

#include <QByteArray>

#include <cstdio>
#include <unistd.h>

namespace publish {

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

} // namespace publish
