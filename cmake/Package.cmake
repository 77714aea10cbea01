# The Debian package of the publisher; packaging/deb/make makes it.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL publisher)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_NAME vornak-publish)
set(CPACK_PACKAGE_VENDOR "Vornak")
set(CPACK_PACKAGE_CONTACT "Vornak project <packages@vornak.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "${VORNAK_WEBSITE_URL}")
# What Debian compresses and asks for, and what another system's "cmake --install" need not have.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/deb/debian-files.cmake)

set(CPACK_DEBIAN_PUBLISHER_PACKAGE_NAME vornak-publish)
set(CPACK_DEBIAN_PUBLISHER_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PUBLISHER_PACKAGE_SECTION web)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PUBLISHER_PACKAGE_SHLIBDEPS ON)
# The libraries' symbols tell the least versions. The encoder's way of writing the size into the
# header (LZMA_FILTER_LZMA1EXT) is no symbol: an older liblzma would load and then refuse to pack.
if(LIBLZMA_LIBRARIES MATCHES "\\.so")
    set(CPACK_DEBIAN_PUBLISHER_PACKAGE_DEPENDS "liblzma5 (>= 5.4)")
endif()
# For "verify --url https://...".
set(CPACK_DEBIAN_PUBLISHER_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_PUBLISHER_PACKAGE_SUGGESTS "nginx, rsync")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "make and keep the content that game launchers read")
set(CPACK_COMPONENT_PUBLISHER_DESCRIPTION
    "Turns a folder with a built game client into static files, which any web
server or object store serves and from which launchers install the game and
keep it current. Versions appear in one step, earlier ones can be made current
again, and everything that is served can be verified.

A configuration for nginx lies among the package's examples.")
include(CPack)
