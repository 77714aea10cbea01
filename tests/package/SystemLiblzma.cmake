# The tests of unpacking once more, with the system's liblzma, where that is another one than the
# programs are built with: who builds without ours gets the same. What decodes and what packs is compiled
# again for them, since a library brings its own liblzma along. Qt's network is there for the precompiled
# headers' sake.
find_library(VORNAK_SYSTEM_LIBLZMA NAMES lzma NO_PACKAGE_ROOT_PATH)
find_path(VORNAK_SYSTEM_LIBLZMA_INCLUDE lzma.h NO_PACKAGE_ROOT_PATH)
mark_as_advanced(VORNAK_SYSTEM_LIBLZMA VORNAK_SYSTEM_LIBLZMA_INCLUDE)
if(WIN32 OR NOT VORNAK_SYSTEM_LIBLZMA OR NOT VORNAK_SYSTEM_LIBLZMA_INCLUDE OR
   "${VORNAK_SYSTEM_LIBLZMA}" STREQUAL "${LIBLZMA_LIBRARIES}")
    return()
endif()

vornak_add_library(vornak_system_unpack
    ${PROJECT_SOURCE_DIR}/src/package/AloneDecoder.cpp
    ${PROJECT_SOURCE_DIR}/src/package/Sha256.cpp
    ${PROJECT_SOURCE_DIR}/src/package/StreamUnpacker.cpp
    ${PROJECT_SOURCE_DIR}/src/package/Unpack.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/IsolatedHome.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/PackLzma.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/TestFiles.cpp)
target_include_directories(vornak_system_unpack
    PUBLIC ${PROJECT_SOURCE_DIR}/tests
    PRIVATE ${VORNAK_SYSTEM_LIBLZMA_INCLUDE})
target_link_libraries(vornak_system_unpack
    PUBLIC Qt6::Core Qt6::Network Qt6::Test
    PRIVATE ${VORNAK_SYSTEM_LIBLZMA})

foreach(name IN ITEMS streamunpacker unpack unpackdamage)
    vornak_add_test(tst_${name}_systemlzma
        SOURCES tst_${name}.cpp UnpackKit.h AllocationProbe.cpp AllocationProbe.h
        LIBS vornak_system_unpack
        WITHOUT_SUPPORT)
endforeach()
