# SPDX-License-Identifier: Apache-2.0
# Debian packages of what OrvaneInstall.cmake installs: cpack in a build folder of the preset `package`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvane-omc)
set(CPACK_PACKAGE_VENDOR "Orvane")
set(CPACK_PACKAGE_CONTACT "Orvane maintainers <maintainers@orvane.example.org>")
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL "")

set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/client")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=") # the soname tells what no longer fits
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# orvane_debian_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION)
function(orvane_debian_package component name section summary description)
  string(TOUPPER ${component} key)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)

  # Every package carries its licence and its changes.
  set(folder "${PROJECT_BINARY_DIR}/packaging/${name}")
  configure_file(packaging/debian/changelog.in "${folder}/changelog" @ONLY)
  execute_process(COMMAND gzip -9nf "${folder}/changelog" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES packaging/debian/copyright "${folder}/changelog.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
          COMPONENT ${component})
endfunction()

orvane_debian_package(
  library liborvane-omc1 libs "client library of the Orvane media service"
  "Applications link it to play media, to run DRM sessions and to get previews.\nIt decodes nothing: every operation becomes a message to the media service.")
orvane_debian_package(
  development liborvane-omc-dev libdevel "client library of the Orvane media service (development files)"
  "Headers, CMake package and pkg-config file for applications that link\nliborvane-omc.")
if(ORVANE_SERVICE)
  orvane_debian_package(
    service orvane-media-service video "reference media service on GStreamer"
    "Plays what applications ask for through the Orvane client library, on a\nworkstation in place of a television.")
endif()
if(ORVANE_TOOLS)
  orvane_debian_package(
    tools orvane-tools video "command-line tools of the Orvane media service"
    "omc-play plays files and URIs on a terminal, and tells what is known of them;\nomc-preview makes pictures of them.")
endif()

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "liborvane-omc1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS
    "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, gstreamer1.0-plugins-bad, gstreamer1.0-libav, gstreamer1.0-x")
set(CPACK_DEBIAN_SERVICE_PACKAGE_RECOMMENDS "gstreamer1.0-alsa, gstreamer1.0-pulseaudio, fonts-dejavu-core")
# What the packages have of each other is not yet installed where the dependencies are looked up.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "liborvane-omc1 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "orvane-media-service")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
include(CPack)
