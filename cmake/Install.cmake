# What "cmake --install" puts where, in two components: the publisher, for whoever serves the game, and
# the launcher. On Windows players get the launcher by its installer; see packaging/windows/make-release.
include(GNUInstallDirs)

if(NOT WIN32)
    install(TARGETS vornak-launcher RUNTIME COMPONENT launcher)
    install(FILES packaging/linux/vornak-launcher.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT launcher)
    foreach(size IN ITEMS 16 24 32 48 64 128 256)
        install(FILES resources/icon/vornak-launcher-${size}.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
            RENAME vornak-launcher.png COMPONENT launcher)
    endforeach()
endif()

if(VORNAK_BUILD_TOOLS)
    set(publisher_doc ${CMAKE_INSTALL_DATADIR}/doc/vornak-publish)
    install(TARGETS vornak-publish RUNTIME COMPONENT publisher)
    install(FILES docs/publishing.md docs/security.md DESTINATION ${publisher_doc} COMPONENT publisher)
    install(FILES packaging/server/vornak-content.conf packaging/server/vornak-site.conf
        DESTINATION ${publisher_doc}/examples COMPONENT publisher)
    install(PROGRAMS packaging/server/upload
        DESTINATION ${publisher_doc}/examples COMPONENT publisher)
    configure_file(docs/vornak-publish.1.in ${CMAKE_BINARY_DIR}/vornak-publish.1 @ONLY)
    if(NOT WIN32)
        install(FILES ${CMAKE_BINARY_DIR}/vornak-publish.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT publisher)
    endif()
endif()
