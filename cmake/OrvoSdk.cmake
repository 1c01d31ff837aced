# SPDX-License-Identifier: MIT
# How other projects find an installation: by CMake's find_package(orvo) and by pkg-config. Both find everything from
# where their own file is, so an installation may be moved.
include(CMakePackageConfigHelpers)

set(ORVO_CMAKE_DIR lib/cmake/orvo)
set(ORVO_PKGCONFIG_DIR share/pkgconfig)
string(REGEX MATCH "[56]" orvo_qt_major "${ORVO_QT_CORE}")
set(orvo_sdk "${CMAKE_BINARY_DIR}/sdk")

configure_file(cmake/orvo-config.cmake.in "${orvo_sdk}/orvo-config.cmake" @ONLY)
configure_file(cmake/orvo.pc.in "${orvo_sdk}/orvo.pc" @ONLY)
# Before 1.0 a minor version may break what was.
write_basic_package_version_file("${orvo_sdk}/orvo-config-version.cmake" COMPATIBILITY SameMinorVersion)

install(EXPORT orvo NAMESPACE orvo:: FILE orvo-targets.cmake DESTINATION ${ORVO_CMAKE_DIR} COMPONENT dev)
install(FILES "${orvo_sdk}/orvo-config.cmake" "${orvo_sdk}/orvo-config-version.cmake"
    DESTINATION ${ORVO_CMAKE_DIR} COMPONENT dev)
install(FILES "${orvo_sdk}/orvo.pc" DESTINATION ${ORVO_PKGCONFIG_DIR} COMPONENT dev)
install(DIRECTORY examples DESTINATION share/doc/orvo COMPONENT dev)
