#include "publish/Terminal.h"

#include <QByteArray>

#include <cstdio>
#include <unistd.h>

void print(Stream stream, const QString& text)
{
    std::FILE* file = stream == Stream::Output ? stdout : stderr;
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

bool isTerminal(Stream stream)
{
    const int descriptor = stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO;
    return ::isatty(descriptor) != 0 && qgetenv("TERM") != "dumb";
}
