# Finds liblzma: the static one that packaging/liblzma left in the cache folder, else the system's. A
# build for another system has its own (see packaging/windows/toolchain.cmake).
if(DEFINED ENV{VORNAK_CACHE} AND NOT "$ENV{VORNAK_CACHE}" STREQUAL "")
    set(default_prefix "$ENV{VORNAK_CACHE}/liblzma")
else()
    set(default_prefix "$ENV{HOME}/.cache/vornak/liblzma")
endif()
set(VORNAK_LIBLZMA_PREFIX "${default_prefix}" CACHE PATH
    "Folder with a static liblzma; the system's is used when there is nothing in it")
set(LibLZMA_ROOT "")
if(NOT CMAKE_CROSSCOMPILING AND EXISTS "${VORNAK_LIBLZMA_PREFIX}/lib/liblzma.a")
    file(REAL_PATH "${VORNAK_LIBLZMA_PREFIX}" LibLZMA_ROOT)
endif()
# What an earlier run found stays unless it is told to go.
if(NOT "${LibLZMA_ROOT}" STREQUAL "${VORNAK_LIBLZMA_FOUND_IN}")
    unset(LIBLZMA_INCLUDE_DIR CACHE)
    unset(LIBLZMA_LIBRARY_RELEASE CACHE)
    unset(LIBLZMA_LIBRARY_DEBUG CACHE)
    set(VORNAK_LIBLZMA_FOUND_IN "${LibLZMA_ROOT}" CACHE INTERNAL "")
endif()
find_package(LibLZMA 5.4 REQUIRED)
if(WIN32 OR LibLZMA_ROOT)
    # lzma.h declares its functions as a DLL's unless told that the library is static.
    set_property(TARGET LibLZMA::LibLZMA APPEND PROPERTY
        INTERFACE_COMPILE_DEFINITIONS LZMA_API_STATIC)
endif()
if(LibLZMA_ROOT)
    # It packs with threads.
    find_package(Threads REQUIRED)
    set_property(TARGET LibLZMA::LibLZMA APPEND PROPERTY
        INTERFACE_LINK_LIBRARIES Threads::Threads)
endif()
message(STATUS "LZMA: liblzma ${LIBLZMA_VERSION_STRING} in ${LIBLZMA_LIBRARIES}")
