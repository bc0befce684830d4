# Debian packages, one for each installation component. Run `cpack` in a build folder, or ./dev package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vrx)
set(CPACK_PACKAGE_CONTACT "the libvrx developers <libvrx@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Russian national (GOST) cryptography")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_COMPONENTS_ALL library development python)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
# Programs that link to the library depend on at least this version.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# vrx_package(COMPONENT NAME SECTION DESCRIPTION [DEPENDS])
macro(vrx_package component name section description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARGN}")
  # Only Debian expects the licence in this place.
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME copyright
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

set(same_library "libvrx${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
vrx_package(library libvrx${PROJECT_VERSION_MAJOR} libs
  "The shared library: GOST 28147-89 in all its modes, GOST R 34.11-94 with HMAC and key derivation, signatures and key agreement of GOST R 34.10-2001, SHA-1 and multiple-precision arithmetic, behind a C interface.")
vrx_package(development libvrx-dev libdevel
  "For programs that use the library: headers for C and C++, the static library, and what pkg-config and CMake ask for."
  "${same_library}, libc6-dev")
vrx_package(python python3-vrx python
  "The Python module vrx: GOST 28147-89, GOST R 34.11-94 and GOST R 34.10-2001 with the library libvrx."
  "${same_library}, python3 (>= 3.9)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_LIST_DIR}/python3-vrx/postinst ${CMAKE_CURRENT_LIST_DIR}/python3-vrx/prerm)
if(TARGET vrx_program)
  list(APPEND CPACK_COMPONENTS_ALL program)
  vrx_package(program vrx utils
    "The program vrx: encrypts, hashes, signs and verifies files with GOST 28147-89, GOST R 34.11-94 and GOST R 34.10-2001."
    "${same_library}")
endif()
include(CPack)
