# Finds libsodium, which checks and makes signatures: the static library where there is one, so that
# neither a program's start nor its package needs another file.
find_path(VORNAK_SODIUM_INCLUDE_DIR sodium.h)
find_library(VORNAK_SODIUM_LIBRARY NAMES libsodium.a sodium)
mark_as_advanced(VORNAK_SODIUM_INCLUDE_DIR VORNAK_SODIUM_LIBRARY)
if(NOT VORNAK_SODIUM_INCLUDE_DIR OR NOT VORNAK_SODIUM_LIBRARY)
    if(CMAKE_CROSSCOMPILING)
        # An older folder, or a build folder that was configured with one.
        message(FATAL_ERROR "libsodium is not in ${VORNAK_WINDOWS_PREFIX}; "
            "packaging/windows/prefix makes a folder with it, for a new build folder")
    endif()
    message(FATAL_ERROR "libsodium was not found (Debian: libsodium-dev)")
endif()
# Global, for a parent project that links what uses it.
add_library(Sodium::Sodium UNKNOWN IMPORTED GLOBAL)
set_target_properties(Sodium::Sodium PROPERTIES
    IMPORTED_LOCATION "${VORNAK_SODIUM_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${VORNAK_SODIUM_INCLUDE_DIR}")
if(VORNAK_SODIUM_LIBRARY MATCHES "\\.a$")
    # sodium.h declares its functions as a DLL's unless told that the library is static.
    set_property(TARGET Sodium::Sodium PROPERTY INTERFACE_COMPILE_DEFINITIONS SODIUM_STATIC)
    if(NOT WIN32)
        find_package(Threads REQUIRED)
        set_property(TARGET Sodium::Sodium PROPERTY INTERFACE_LINK_LIBRARIES Threads::Threads)
    endif()
endif()
message(STATUS "Signatures: libsodium in ${VORNAK_SODIUM_LIBRARY}")
