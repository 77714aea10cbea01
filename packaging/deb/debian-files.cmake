# CPack runs this on the folder that it packs: Debian wants manual pages and changelogs compressed, the
# same bytes from the same text, and a file on the terms of use in every package.
set(share ${CPACK_TEMPORARY_DIRECTORY}/publisher/usr/share)
set(doc ${share}/doc/vornak-publish)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/copyright ${doc}/copyright)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../../CHANGELOG.md ${doc}/changelog)
file(CHMOD ${doc}/copyright ${doc}/changelog
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip --best --no-name --force
        ${doc}/changelog ${share}/man/man1/vornak-publish.1
    COMMAND_ERROR_IS_FATAL ANY)
