# Warnings and Qt restrictions for the project's own code only: an interface target, linked
# privately, so that nothing of it reaches a project that adds this one as a folder.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast -Wshadow
    -Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override
    $<$<BOOL:${VORNAK_WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_definitions(project_options INTERFACE
    QT_NO_KEYWORDS
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# A static library of one source folder, included from the root "src/". One with QObjects of its own
# turns AUTOMOC on; looking for them costs two build steps.
function(vornak_add_library name)
    add_library(${name} STATIC ${ARGN})
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_link_libraries(${name} PRIVATE project_options)
endfunction()
