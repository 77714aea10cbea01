// Starts the launcher that lies beside it, with the arguments it was given; shortcuts point here.
//
// A running launcher that replaces itself has to rename its own file away before the new one can
// take its place. When it is ended just between the two, by a power failure or the task manager,
// there is no launcher to start that could put this right. This program is never running when it
// is replaced, so that it is replaced in one step and is always there; it puts the old launcher
// back and starts it.

#include "package/ReplacementNames.h"

#include <windows.h>

#include <string>

namespace {

constexpr const wchar_t* programName = L"vornak-launcher.exe";
constexpr DWORD napMs = 50;
constexpr int naps = 10;

std::wstring ownFolder()
{
    // The longest path that the system knows.
    std::wstring path(0x8000, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\') + 1);
    // Only a path of this form may be longer than what old programs have room for.
    constexpr std::size_t roomForName = 40;
    if (path.size() + roomForName > MAX_PATH && !path.starts_with(LR"(\\)"))
        path.insert(0, LR"(\\?\)");
    return path;
}

bool exists(const std::wstring& file)
{
    return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// A launcher that replaces itself at this moment puts the new file there by itself.
bool waitForFile(const std::wstring& file)
{
    for (int count = 0; count < naps; ++count) {
        if (exists(file))
            return true;
        Sleep(napMs);
    }
    return false;
}

/// Name of the newest file in the folder that was moved aside from the program; empty when there
/// is none.
std::wstring newestAside(const std::wstring& folder)
{
    const std::wstring pattern = folder + programName + L"" VORNAK_ASIDE_SUFFIX L"*";
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return {};
    std::wstring newest;
    FILETIME newestTime{};
    do {
        if (newest.empty() || CompareFileTime(&found.ftLastWriteTime, &newestTime) > 0) {
            newest = found.cFileName;
            newestTime = found.ftLastWriteTime;
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return newest;
}

void putProgramBack(const std::wstring& folder)
{
    const std::wstring aside = newestAside(folder);
    if (!aside.empty())
        MoveFileExW((folder + aside).c_str(), (folder + programName).c_str(),
                    MOVEFILE_WRITE_THROUGH);
}

/// What follows the program's own name in the command line, as it stands.
std::wstring givenArguments()
{
    const wchar_t* rest = GetCommandLineW();
    bool quoted = false;
    for (; *rest != L'\0' && (quoted || (*rest != L' ' && *rest != L'\t')); ++rest)
        quoted = quoted != (*rest == L'"');
    return rest;
}

bool start(const std::wstring& folder)
{
    const std::wstring program = folder + programName;
    std::wstring commandLine = L'"' + program + L'"' + givenArguments();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &process))
        return false;
    // The launcher's window may come to the front in this program's stead.
    AllowSetForegroundWindow(process.dwProcessId);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const std::wstring folder = ownFolder();
    if (!waitForFile(folder + programName))
        putProgramBack(folder);
    if (start(folder))
        return 0;
    MessageBoxW(nullptr, L"The launcher cannot be started. Please install it again.", L"Vornak",
                MB_ICONERROR);
    return 1;
}
