# SPDX-License-Identifier: Apache-2.0
# What is installed where, in the parts that become packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORVANE_UNIT_DIR "lib/systemd/user" CACHE STRING "Where units of the users' service managers are installed")

# orvane_manual(NAME COMPONENT): a page of the manual, compressed as all are.
function(orvane_manual name component)
  configure_file(packaging/man/${name} packaging/man/${name} COPYONLY)
  execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/packaging/man/${name}" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${PROJECT_BINARY_DIR}/packaging/man/${name}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT ${component})
endfunction()

# Programs find the library beside them when the loader does not look there by itself.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH library_from_program "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  foreach(program omc-play omc-preview)
    if(TARGET ${program})
      set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_program}")
    endif()
  endforeach()
endif()

install(
  TARGETS orvane_omc
  EXPORT OrvaneOmcTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
          COMPONENT library
          NAMELINK_COMPONENT development
  INCLUDES
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY include/orvane DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)
# The service end of the messenger stays out: the library does not show it. Whoever brings another messenger installs its
# headers.
if(TARGET orvane_platform)
  install(
    DIRECTORY platform/include/orvane
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development
    PATTERN mdts_messenger.h EXCLUDE
    PATTERN om_event_loop.h EXCLUDE)
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/OrvaneOmc")
install(EXPORT OrvaneOmcTargets NAMESPACE orvane:: DESTINATION "${package_dir}" COMPONENT development)
configure_package_config_file(packaging/OrvaneOmcConfig.cmake.in packaging/OrvaneOmcConfig.cmake INSTALL_DESTINATION
                              "${package_dir}")
write_basic_package_version_file(packaging/OrvaneOmcConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/packaging/OrvaneOmcConfig.cmake" "${PROJECT_BINARY_DIR}/packaging/OrvaneOmcConfigVersion.cmake"
  DESTINATION "${package_dir}"
  COMPONENT development)

file(RELATIVE_PATH prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
configure_file(packaging/orvane-omc.pc.in packaging/orvane-omc.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/packaging/orvane-omc.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(ORVANE_SERVICE)
  install(TARGETS orvane-media-service RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT service)
  orvane_manual(orvane-media-service.1 service)
  # Only whoever installs knows for certain where the program goes.
  install(
    CODE "set(program \"${CMAKE_INSTALL_BINDIR}/orvane-media-service\")
cmake_path(ABSOLUTE_PATH program BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
cmake_path(ABSOLUTE_PATH program NORMALIZE)
configure_file(\"${PROJECT_SOURCE_DIR}/packaging/systemd/orvane-media-service.service.in\"
               \"${PROJECT_BINARY_DIR}/packaging/orvane-media-service.service\" @ONLY)"
    COMPONENT service)
  install(FILES packaging/systemd/orvane-media-service.socket "${PROJECT_BINARY_DIR}/packaging/orvane-media-service.service"
          DESTINATION "${ORVANE_UNIT_DIR}" COMPONENT service)
endif()
if(ORVANE_TOOLS)
  install(TARGETS omc-play omc-preview RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
  orvane_manual(omc-play.1 tools)
  orvane_manual(omc-preview.1 tools)
endif()
