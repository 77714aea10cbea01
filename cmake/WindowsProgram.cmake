# What a program for Windows carries beyond its code. Included for that platform only.

# Defences that the system offers and that a program has to ask for: no execution of data, a load
# address that changes with each start, taken from the whole 64-bit space. The linker turns them on
# by itself today; a release must not depend on that. The stack is guarded by the compiler.
add_compile_options(-fstack-protector-strong)
add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
add_link_options(-fstack-protector-strong -Wl,--nxcompat,--dynamicbase,--high-entropy-va)

# The same sources give the same bytes wherever and whenever they are built: no folder of this
# machine in debug information or __FILE__, no time in the program's header or in the compiled-in
# files. The build id, a hash of the program, is what a crash report names it by.
add_compile_options(
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=/vornak-launcher
    -ffile-prefix-map=${CMAKE_BINARY_DIR}=/vornak-launcher-build
    -ffile-prefix-map=${VORNAK_WINDOWS_PREFIX}=/windows-prefix)
add_link_options(-Wl,--no-insert-timestamp,--build-id=sha1)
set_property(GLOBAL PROPERTY RULE_LAUNCH_CUSTOM
    "${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=1735689600")

# A version of four numbers for the file's properties; a text such as "dev" counts as 0.0.0.0.
function(vornak_version_numbers version result)
    set(numbers "")
    if(version MATCHES "^[0-9]+(\\.[0-9]+)*$")
        string(REPLACE "." ";" numbers "${version}")
    endif()
    list(APPEND numbers 0 0 0 0)
    list(SUBLIST numbers 0 4 numbers)
    list(JOIN numbers "," numbers)
    set(${result} "${numbers}" PARENT_SCOPE)
endfunction()

# Icon, version and manifest.
function(vornak_add_windows_resources name version description)
    vornak_version_numbers("${version}" VERSION_NUMBERS)
    set(VERSION_TEXT "${version}")
    set(DESCRIPTION "${description}")
    set(PROGRAM ${name}.exe)
    set(ICON ${PROJECT_SOURCE_DIR}/resources/icon/vornak-launcher.ico)
    set(MANIFEST ${PROJECT_SOURCE_DIR}/packaging/windows/program.manifest)
    set(resource_file ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${resource_file} @ONLY)
    set_property(SOURCE ${resource_file} PROPERTY OBJECT_DEPENDS ${ICON} ${MANIFEST})
    target_sources(${name} PRIVATE ${resource_file})
endfunction()

# Moves the program's symbols into a file beside it, which stays with the release and is not
# shipped. The debugger finds it by the name and checksum that the program keeps.
function(vornak_split_symbols name)
    set(program $<TARGET_FILE:${name}>)
    add_custom_command(TARGET ${name} POST_BUILD VERBATIM
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${program} ${program}.debug
        COMMAND ${CMAKE_STRIP} --strip-all ${program}
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${program}.debug ${program})
endfunction()
