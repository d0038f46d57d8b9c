# What `make install` and the Debian package hold besides the program: the manual page; in
# the documentation folder, the README, the Debian copyright file and the changelog; and
# lintian's overrides, each with the reason it is right.
# `cpack --preset release` (`make package`) turns the release build into
# build/tessaline-mcp_<version>_amd64.deb.
include(GNUInstallDirs)

# The changelog's newest entry must name the version being built, or the package would
# contradict itself.
file(STRINGS packaging/changelog TESSALINE_CHANGELOG_TOP LIMIT_COUNT 1)
if(NOT TESSALINE_CHANGELOG_TOP MATCHES "^tessaline-mcp \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "packaging/changelog must begin with an entry for ${PROJECT_VERSION}")
endif()

# Debian keeps manual pages and long documents gzip-compressed; -n leaves the file name and
# date out of the header so that two builds of the same text give the same bytes.
function(tessaline_gzip source compressed)
  add_custom_command(OUTPUT ${compressed}
    COMMAND gzip -9n < ${source} > ${compressed}
    DEPENDS ${source})
endfunction()

configure_file(packaging/tessaline-mcp.1.in tessaline-mcp.1 @ONLY)
tessaline_gzip(${CMAKE_CURRENT_BINARY_DIR}/tessaline-mcp.1 tessaline-mcp.1.gz)
tessaline_gzip(${CMAKE_CURRENT_SOURCE_DIR}/README.md README.md.gz)
tessaline_gzip(${CMAKE_CURRENT_SOURCE_DIR}/packaging/changelog changelog.gz)
add_custom_target(tessaline_documents ALL
  DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/tessaline-mcp.1.gz ${CMAKE_CURRENT_BINARY_DIR}/README.md.gz
          ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)

install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessaline-mcp.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.md.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
              packaging/copyright
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES packaging/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME tessaline-mcp)

set(TESSALINE_PACKAGE_MAINTAINER "tessaline-mcp maintainers <maintainers@tessaline.invalid>"
    CACHE STRING "The Maintainer field of the Debian package")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MCP server giving AI assistants a local HTTP/API client")
set(CPACK_PACKAGE_DESCRIPTION
"An AI coding assistant starts tessaline-mcp as a child process and talks
JSON-RPC 2.0 to it over standard input and output (the Model Context
Protocol). Its tools work on a folder of saved HTTP requests shared with a
desktop client: collections, environments and variables, sending with
every variable resolved, recorded responses, OAuth 2 tokens, curl import,
code snippets and Postman Collection v2.1 export.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TESSALINE_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# dpkg-shlibdeps finds what the program is linked with. libcurl is loaded by name when first
# used (core/http/CurlLibrary), out of its sight, so it is named here. Distributions after
# Debian 12 renamed the package libcurl4t64.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4 (>= ${TESSALINE_MINIMUM_CURL}) | libcurl4t64")
# HTTPS sends need the certificate authorities, which a system may keep elsewhere.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ca-certificates)
include(CPack)
