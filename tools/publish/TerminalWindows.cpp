#include "publish/Terminal.h"

#include <QByteArray>

#include <windows.h>

#include <algorithm>

namespace publish {

namespace {

HANDLE handleOf(Stream stream)
{
    return GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

bool isConsole(HANDLE handle)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

// The console's own code page is whatever the user's system was set up with, and changing it would
// outlast this program; so a console gets UTF-16. It refuses texts of more than some ten thousand
// units.
bool printToConsole(HANDLE handle, QStringView text)
{
    constexpr qsizetype slice = 8192;
    while (!text.isEmpty()) {
        qsizetype size = std::min(slice, text.size());
        if (size < text.size() && text.at(size - 1).isHighSurrogate())
            --size;
        DWORD written = 0;
        if (!WriteConsoleW(handle, text.utf16(), static_cast<DWORD>(size), &written, nullptr))
            return false;
        text = text.sliced(size);
    }
    return true;
}

// Around the C library, which would put a carriage return before each end of a line.
bool printToFile(HANDLE handle, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        DWORD written = 0;
        if (!WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
            written == 0)
            return false;
        bytes = bytes.sliced(static_cast<qsizetype>(written));
    }
    return true;
}

} // namespace

bool writeText(Stream stream, const QString& text)
{
    const HANDLE handle = handleOf(stream);
    return isConsole(handle) ? printToConsole(handle, text) : printToFile(handle, text.toUtf8());
}

bool isTerminal(Stream stream)
{
    return isConsole(handleOf(stream));
}

} // namespace publish
