# SPDX-License-Identifier: MIT
# The libraries that this project stands on, all from Debian's packages (scripts/setup.sh names them).

set(ORVO_QT_VERSION "" CACHE STRING "Qt to build with: 6, 5, or empty for 6 where there is one")
set_property(CACHE ORVO_QT_VERSION PROPERTY STRINGS "" 6 5)
if(ORVO_QT_VERSION)
    find_package(Qt${ORVO_QT_VERSION} REQUIRED COMPONENTS Core)
    set(ORVO_QT_CORE Qt${ORVO_QT_VERSION}::Core)
else()
    find_package(QT NAMES Qt6 Qt5 REQUIRED COMPONENTS Core)
    find_package(Qt${QT_VERSION_MAJOR} REQUIRED COMPONENTS Core)
    set(ORVO_QT_CORE Qt${QT_VERSION_MAJOR}::Core)
endif()

find_package(Boost 1.74 REQUIRED)
find_package(Threads REQUIRED)
find_package(spdlog REQUIRED)
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(PCAP REQUIRED IMPORTED_TARGET libpcap)
pkg_check_modules(LIBDEFLATE REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(TOMLPLUSPLUS REQUIRED IMPORTED_TARGET tomlplusplus)
