# Installation rules for `cmake --install`, in the components library, development, program and python. Each is also a
# package. The component python is for packages only: elsewhere pip installs the module.
include(CMakePackageConfigHelpers)

set(VRX_ZSH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where zsh looks for completions, below the prefix")
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vrx)

# --- library ---
install(TARGETS vrx vrx_cxx EXPORT vrx-targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS vrx_keyfile LIBRARY COMPONENT library NAMELINK_SKIP)

# --- development ---
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN *.h PATTERN *.hpp)
install(EXPORT vrx-targets NAMESPACE vrx:: DESTINATION ${package_dir} COMPONENT development)
if(VRX_STATIC)
  install(TARGETS vrx_static EXPORT vrx-static-targets
    ARCHIVE COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT vrx-static-targets NAMESPACE vrx:: DESTINATION ${package_dir} COMPONENT development)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vrx-config.cmake.in ${PROJECT_BINARY_DIR}/vrx-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vrx-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vrx-config.cmake ${PROJECT_BINARY_DIR}/vrx-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# vrx.pc uses paths relative to itself, so that an installed tree can be moved. For the system's own folders it uses
# absolute paths, which pkg-config omits from its output.
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
  set(VRX_PC_PREFIX /usr)
else()
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" VRX_PC_PREFIX "\${pcfiledir}/${up}")
endif()
foreach(module vrx vrx-cxx)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/vrx.pc ${PROJECT_BINARY_DIR}/vrx-cxx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.3)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)

# Documents and examples, in the folders of the source tree, so that the links between them work.
set(VRX_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/libvrx-dev)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md
  ${PROJECT_SOURCE_DIR}/SECURITY.md ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${VRX_DOC_DIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${VRX_DOC_DIR}
  COMPONENT development
  PATTERN CMakeLists.txt EXCLUDE
  PATTERN .clang-format EXCLUDE
  PATTERN "expect.py" EXCLUDE
  PATTERN "common_rules.py" EXCLUDE
  PATTERN "Doxyfile*" EXCLUDE
  PATTERN "layout.xml" EXCLUDE
  PATTERN "site.css" EXCLUDE
  PATTERN __pycache__ EXCLUDE)

# --- program ---
if(TARGET vrx_program)
  install(TARGETS vrx_program RUNTIME COMPONENT program)
  foreach(section 1 5)
    file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.${section})
    install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT program)
  endforeach()
  file(GLOB completions CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/app/completion/*.bash)
  foreach(completion IN LISTS completions)
    cmake_path(GET completion STEM command)
    install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ${command} COMPONENT program)
  endforeach()
  file(GLOB completions CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/app/completion/_*)
  install(FILES ${completions} DESTINATION ${VRX_ZSH_COMPLETION_DIR} COMPONENT program)
endif()

# --- python ---
set(VRX_PYTHON_DIR lib/python3/dist-packages)  # of Debian, for all versions of Python 3
configure_file(${CMAKE_CURRENT_LIST_DIR}/python3-vrx/PKG-INFO.in ${PROJECT_BINARY_DIR}/PKG-INFO @ONLY)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/src/vrx DESTINATION ${VRX_PYTHON_DIR} COMPONENT python EXCLUDE_FROM_ALL
  FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/PKG-INFO DESTINATION ${VRX_PYTHON_DIR}/vrx-${PROJECT_VERSION}.egg-info
  COMPONENT python EXCLUDE_FROM_ALL)
