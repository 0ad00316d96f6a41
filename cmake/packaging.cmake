# Debian packages of the two install components, built by CPack
# (scripts/package.sh runs `cpack -G DEB` in a build configured with
# -DCMAKE_INSTALL_PREFIX=/usr):
#   libzyncmncoll1     both shared libraries and the message catalogue;
#                      Depends from dpkg-shlibdeps, a shlibs file for the
#                      packages built against it, ldconfig triggers
#   libzyncmncoll-dev  headers, unversioned links, CMake package, pkg-config
#                      file and GDB pretty-printers; Depends on the exact
#                      libzyncmncoll1
set(ZYN_PACKAGE_MAINTAINER "libzyncmncoll developers <dev@zyncmncoll.example>"
  CACHE STRING "Maintainer field of the Debian packages")
set(ZYN_PACKAGE_RELEASE 1 CACHE STRING "Debian revision of the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zyncmncoll)
set(CPACK_PACKAGE_VENDOR "libzyncmncoll developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${ZYN_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
# Installed under DESTDIR with the real prefix, so that the files written
# at install time (pkg-config file, GDB auto-load file) name /usr.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ZYN_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZYN_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://zyncmncoll.example/")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(ZYN_PACKAGE_FULL_VERSION ${PROJECT_VERSION}-${ZYN_PACKAGE_RELEASE})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzyncmncoll1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# shlibs: packages linked against the libraries depend on this version or
# later. The dynamic linker's cache is renewed by the ldconfig trigger;
# CPack also writes postinst/postrm scripts that call ldconfig, which
# scripts/package.sh takes out again.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
# The long description both packages share.
set(ZYN_PACKAGE_ABOUT
"libzyncmncoll offers a reference-counted, copy-on-write string class over
single-byte and multibyte buffers with text functions (words, wildcard
matching, radix conversions), exception classes written to a trace before
they are thrown, numbered message texts from a message catalogue, and
calendar dates and times of day.
")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"${PROJECT_DESCRIPTION} (shared libraries)
${ZYN_PACKAGE_ABOUT}
This package holds the shared libraries and the message catalogue.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzyncmncoll-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libzyncmncoll1 (= ${ZYN_PACKAGE_FULL_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "gdb, pkg-config, cmake")
set(CPACK_DEBIAN_DEV_DESCRIPTION
"${PROJECT_DESCRIPTION} (development files)
${ZYN_PACKAGE_ABOUT}
This package holds the headers, the CMake package, the pkg-config file and
pretty-printers for GDB.")

# What Debian policy asks of every package: a copyright file and a
# compressed changelog under /usr/share/doc/<package>; and the lintian
# override for the catalogue's directory.
find_program(ZYN_GZIP gzip REQUIRED)
set(ZYN_PACKAGE_DOC ${PROJECT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${ZYN_PACKAGE_DOC})
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in
  ${ZYN_PACKAGE_DOC}/changelog @ONLY)
execute_process(
  COMMAND ${ZYN_GZIP} -9 -n -c ${ZYN_PACKAGE_DOC}/changelog
  OUTPUT_FILE ${ZYN_PACKAGE_DOC}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN ITEMS runtime dev)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
                ${ZYN_PACKAGE_DOC}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/libzyncmncoll1.lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
  RENAME libzyncmncoll1 COMPONENT runtime EXCLUDE_FROM_ALL)

include(CPack)
