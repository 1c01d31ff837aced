# SPDX-License-Identifier: MIT
# Debian packages, by cpack: orvo-gige is the installation root under /opt/orvo with what makes it part of the system,
# orvo-dev what other projects need to build against it. packaging/stage.sh puts files where Debian wants them.

set(orvo_package "${CMAKE_BINARY_DIR}/package")
set(ORVO_PACKAGE_ROOT /opt/orvo)
foreach(unit orvo-gige-bridge@ orvo-board@)
    configure_file(packaging/${unit}.service.in "${orvo_package}/${unit}.service" @ONLY)
endforeach()
configure_file(packaging/stage.cmake.in "${orvo_package}/stage.cmake" @ONLY)

# What users read and try. It keeps the structure of docs/, so that links work; those to files of the sources alone
# become plain text.
install(DIRECTORY docs/ DESTINATION share/doc/orvo-gige
    FILES_MATCHING REGEX "[.](md|svg|png|toml)$" PATTERN man EXCLUDE)
install(CODE [=[
    file(GLOB guides "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/doc/orvo-gige/*.md")
    foreach(guide IN LISTS guides)
        file(READ "${guide}" text)
        string(REGEX REPLACE "\\[([^]]*)\\]\\(\\.\\./[^)]*\\)" "\\1" text "${text}")
        file(WRITE "${guide}" "${text}")
    endforeach()
]=])
install(FILES tests/data/gige-vision.pcapng tests/data/mixed-lan.pcap DESTINATION share/doc/orvo-gige/examples)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvo)
set(CPACK_PACKAGE_VENDOR orvo)
set(CPACK_PACKAGE_CONTACT "The orvo authors <authors@orvo.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX "${ORVO_PACKAGE_ROOT}")
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${orvo_package}/stage.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME orvo-gige)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "orvo-dev, wireshark")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_SOURCE_DIR}/packaging/prerm;${CMAKE_CURRENT_SOURCE_DIR}/packaging/postrm")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}
The host program orvo-gige, the plug-in by which it drives a port, a log
dispatcher, and a simulated board, so that all of it can be used without
having the board. A library records the board calls of any host. The whole
installation is below ${ORVO_PACKAGE_ROOT}.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME orvo-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(orvo_qt_packages 5:qtbase5-dev 6:qt6-base-dev)
list(FILTER orvo_qt_packages INCLUDE REGEX "^${orvo_qt_major}:")
string(REGEX REPLACE "^.:" "" orvo_qt_package "${orvo_qt_packages}")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "orvo-gige (= ${PROJECT_VERSION}), libboost-dev (>= 1.74), ${orvo_qt_package}")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cmake, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION "framework for network ports as plug-ins (development files)
Headers, files for CMake and pkg-config, and examples, to write hosts that
load network ports as plug-ins, and plug-ins of one's own.")

include(CPack)
