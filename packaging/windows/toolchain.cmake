# Cross-build for Windows on x86-64 with Debian's mingw-w64 (posix threads, universal names: the
# compiler's own runtime is linked statically, so that no DLL has to lie beside a program).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(tool_prefix x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${tool_prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${tool_prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${tool_prefix}-windres)

# Where static Qt, liblzma and libsodium lie: named by the environment, else what
# packaging/windows/prefix left in the cache folder. Test compilations of CMake read this file too, hence the cache.
if(DEFINED ENV{VORNAK_WINDOWS_PREFIX} AND NOT "$ENV{VORNAK_WINDOWS_PREFIX}" STREQUAL "")
    set(default_prefix "$ENV{VORNAK_WINDOWS_PREFIX}")
elseif(DEFINED ENV{VORNAK_CACHE} AND NOT "$ENV{VORNAK_CACHE}" STREQUAL "")
    set(default_prefix "$ENV{VORNAK_CACHE}/windows-prefix")
else()
    set(default_prefix "$ENV{HOME}/.cache/vornak/windows-prefix")
endif()
set(VORNAK_WINDOWS_PREFIX "${default_prefix}" CACHE PATH
    "Folder with static Qt, liblzma and libsodium for Windows, see packaging/windows/prefix")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VORNAK_WINDOWS_PREFIX)

set(CMAKE_PREFIX_PATH ${VORNAK_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH ${VORNAK_WINDOWS_PREFIX} /usr/${tool_prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt's code generators lie beside its libraries: the machine's own may be of another version.
set(QT_HOST_PATH ${VORNAK_WINDOWS_PREFIX}/host CACHE PATH "")
set(QT_HOST_PATH_CMAKE_DIR ${VORNAK_WINDOWS_PREFIX}/host/lib/cmake CACHE PATH "")
# Debian's Qt links no plugin by itself; a static program would have no window system.
set(QT_SKIP_AUTO_PLUGIN_INCLUSION OFF CACHE BOOL "")

# Tests are Windows programs as well.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-program)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
