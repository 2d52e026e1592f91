# cpack: one Debian package for each component.
set(ZUL_MAINTAINER "The zulbench developers <zulbench@example.org>" CACHE STRING "Who answers for the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zulbench)
set(CPACK_PACKAGE_CONTACT ${ZUL_MAINTAINER})
# Each package has a summary of its own, as the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL development)
if(ZUL_PROGRAMS)
    list(PREPEND CPACK_COMPONENTS_ALL program python)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_VERBATIM_VARIABLES ON)

# The bytes depend neither on the clock nor on the caller's umask.
set(ZUL_ROOT ${PROJECT_SOURCE_DIR})
configure_file(cpackproject.cmake.in cpackproject.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/cpackproject.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/finish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/seal.cmake)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME zulbench)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "fonts-dejavu-core, qttranslations5-l10n")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "libzulobj-dev, qtwayland5, wireshark")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "device simulator for a site-monitoring network
zulbench plays one field device toward a monitoring server: digital and
analog inputs and outputs, card scanners and ad-hoc events, in a window,
without one, and by scripts.
.
zulserver is a small monitoring server for the other end of the line: it
prints what the devices say and takes commands.
.
zulfleet plays thousands of such devices at once, and measures how the
server takes it.
.
zulproxy stands between the two and misbehaves as its rules say: it delays,
loses, damages and invents messages, and does the same again with the same
seed.
.
zulcapture works with recordings of all of them: it shows the messages and
tells in what two recordings differ.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zul)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "zulbench")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest, python3-pytest-xdist")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/python/postinst ${CMAKE_CURRENT_SOURCE_DIR}/python/prerm)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "simulated field devices and a monitoring server for Python tests
The package zul runs zulbench, zulserver and zulfleet as Python objects: a
test sets a device's inputs and expects what the server gets, and the other
way round. For pytest there are fixtures, and a failing test shows what the
programs said. Nothing of them is left behind, however a test ends.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzulobj-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libc-ares-dev, libjansson-dev, liblog4cpp5-dev, pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "zulbench")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "records and messages of field devices, for C++ programs
The library zulobj has the records that field devices and their monitoring
server exchange, and the client that keeps a device's connection. With it
come what it stands on: the dictionary zuldict, the messages wmsg, the
recordings wcapture and the log wlog. All are static libraries.")

include(CPack)
