#include "publish/Terminal.h"

#include <QByteArray>

#include <windows.h>

#include <algorithm>
#include <array>

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

// A carriage return is a part of the line's end here, whoever wrote it.
bool readFromFile(HANDLE handle, const std::function<void(char)>& take)
{
    for (bool isFirst = true;; isFirst = false) {
        char byte = 0;
        DWORD count = 0;
        if (!ReadFile(handle, &byte, 1, &count, nullptr) || count == 0)
            return !isFirst;
        if (byte == '\n')
            return true;
        if (byte != '\r')
            take(byte);
    }
}

// What is typed comes as UTF-16, whatever code page the console has.
bool readFromConsole(HANDLE handle, const std::function<void(char)>& take)
{
    std::array<wchar_t, 4096> line{};
    std::array<char, 3 * line.size()> bytes{};
    DWORD read = 0;
    const bool isThere =
        ReadConsoleW(handle, line.data(), static_cast<DWORD>(line.size()), &read, nullptr) != 0 &&
        read > 0;
    int length = static_cast<int>(read);
    while (length > 0 && (line.at(static_cast<std::size_t>(length) - 1) == L'\n' ||
                          line.at(static_cast<std::size_t>(length) - 1) == L'\r'))
        --length;
    const int size = length == 0
                         ? 0
                         : WideCharToMultiByte(CP_UTF8, 0, line.data(), length, bytes.data(),
                                               static_cast<int>(bytes.size()), nullptr, nullptr);
    std::for_each(bytes.begin(), bytes.begin() + size, take);
    SecureZeroMemory(line.data(), sizeof(line));
    SecureZeroMemory(bytes.data(), bytes.size());
    return isThere;
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

bool isInputTyped()
{
    return isConsole(GetStdHandle(STD_INPUT_HANDLE));
}

bool readHiddenLine(const std::function<void(char byte)>& take)
{
    const HANDLE handle = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(handle, &mode))
        return readFromFile(handle, take);
    SetConsoleMode(handle, (mode | ENABLE_LINE_INPUT) & ~DWORD(ENABLE_ECHO_INPUT));
    const bool isThere = readFromConsole(handle, take);
    SetConsoleMode(handle, mode);
    return isThere;
}

} // namespace publish
