# `cmake --install` and, through CPack, a Debian package: the command, its manual pages, completion for
# shells, and the documents.
include(GNUInstallDirs)

# The pages are the command's own description of itself.
set(manual ${PROJECT_BINARY_DIR}/manual)
add_custom_command(OUTPUT ${manual}/ledgerwick.1.gz
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${manual}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${manual}
  COMMAND ledgerwick __manual ${manual}
  COMMAND gzip -9nr ${manual}
  DEPENDS ledgerwick VERBATIM)
set(changelog ${PROJECT_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${changelog}
  COMMAND sh -c "gzip -9nc '${PROJECT_SOURCE_DIR}/packaging/changelog' > '${changelog}'"
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog VERBATIM)
add_custom_target(manual ALL DEPENDS ${manual}/ledgerwick.1.gz ${changelog})

set(completion ${PROJECT_SOURCE_DIR}/cli/completion)
install(TARGETS ledgerwick)
install(DIRECTORY ${manual}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${completion}/ledgerwick.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ledgerwick)
# Where Debian's zsh looks, in /usr and elsewhere.
install(CODE [[
  set(functions site-functions)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(functions vendor-completions)
  endif()]])
install(FILES ${completion}/_ledgerwick DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/\${functions})
install(FILES ${completion}/ledgerwick.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
install(FILES README.md packaging/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(LEDGERWICK_MAINTAINER "Ledgerwick maintainers <maintainers@ledgerwick.example>"
  CACHE STRING "Whom the Debian package names as its maintainer")
file(READ ${PROJECT_SOURCE_DIR}/packaging/description CPACK_DEBIAN_PACKAGE_DESCRIPTION)
string(STRIP "${CPACK_DEBIAN_PACKAGE_DESCRIPTION}" CPACK_DEBIAN_PACKAGE_DESCRIPTION)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT ${LEDGERWICK_MAINTAINER})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS tdsodbc)  # the driver for servers
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
