# Installation rules for `cmake --install`, in the components library, development and program. Each is also a package.
include(CMakePackageConfigHelpers)

set(VRX_ZSH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where zsh looks for completions, below the prefix")
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vrx)

# --- library ---
install(TARGETS vrx EXPORT vrx-targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

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
configure_file(${CMAKE_CURRENT_LIST_DIR}/vrx.pc.in ${PROJECT_BINARY_DIR}/vrx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vrx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.3)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)

# --- program ---
if(TARGET vrx_program)
  install(TARGETS vrx_program RUNTIME COMPONENT program)
  file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.1)
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
  file(GLOB completions CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/app/completion/*.bash)
  foreach(completion IN LISTS completions)
    cmake_path(GET completion STEM command)
    install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ${command} COMPONENT program)
  endforeach()
  file(GLOB completions CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/app/completion/_*)
  install(FILES ${completions} DESTINATION ${VRX_ZSH_COMPLETION_DIR} COMPONENT program)
endif()
