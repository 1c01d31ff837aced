# SPDX-License-Identifier: MIT
# How everything here is compiled, and where it lands: the build tree is an installation root of its own, with the
# same layout below it as the install prefix.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

set(ORVO_LIB_DIR lib64)
set(ORVO_PLUGIN_DIR lib64/plugins)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime) # what only developers need is installed as component `dev`
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/${ORVO_LIB_DIR}")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/archive")

set(ORVO_SANITIZER "" CACHE STRING "Sanitizers to build with: empty, address (with undefined behaviour) or thread")
set_property(CACHE ORVO_SANITIZER PROPERTY STRINGS "" address thread)

# Options of every target of this project; linked privately, never exported.
add_library(orvo_options INTERFACE)
target_compile_definitions(orvo_options INTERFACE QT_NO_KEYWORDS)
target_compile_options(orvo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wundef -Wformat=2 -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 reports overlapping copies inside std::string's own concatenation (GCC bug 105651).
    target_compile_options(orvo_options INTERFACE -Wno-restrict)
endif()
if(NOT (ORVO_SANITIZER AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")) # Clang keeps the sanitizers in the program
    target_link_options(orvo_options INTERFACE -Wl,--no-undefined)
endif()
if(ORVO_SANITIZER STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The sanitizers' checks hide from GCC that variables are set; it reports std::regex and others.
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
elseif(ORVO_SANITIZER STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(ORVO_SANITIZER)
    message(FATAL_ERROR "ORVO_SANITIZER is \"${ORVO_SANITIZER}\"; it must be empty, address or thread.")
endif()

# Makes everything tell a fuzzer where it goes, and builds the fuzzers (tests/fuzz).
option(ORVO_FUZZERS "Build the fuzz targets as fuzzers; needs Clang" OFF)
if(ORVO_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "ORVO_FUZZERS needs Clang; use cmake --preset fuzz.")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# A shared library in lib64, found by its neighbours through $ORIGIN. It exports names of this project only, not what
# it instantiates of other people's templates. With EXPORT_NAME, other projects find it as orvo::EXPORT_NAME.
set(ORVO_EXPORT_MAP "${CMAKE_CURRENT_LIST_DIR}/exports.map")
function(orvo_shared_library target outputName)
    cmake_parse_arguments(PARSE_ARGV 2 library "" "EXPORT_NAME" "")
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${outputName}
        INSTALL_RPATH "$ORIGIN"
        LINK_DEPENDS "${ORVO_EXPORT_MAP}")
    target_link_libraries(${target} PRIVATE orvo_options)
    target_link_options(${target} PRIVATE "-Wl,--version-script=${ORVO_EXPORT_MAP}")
    if(library_EXPORT_NAME)
        set_target_properties(${target} PROPERTIES EXPORT_NAME ${library_EXPORT_NAME})
        set(export EXPORT orvo)
    endif()
    install(TARGETS ${target} ${export} LIBRARY DESTINATION ${ORVO_LIB_DIR} INCLUDES DESTINATION include)
endfunction()

# A program in bin.
function(orvo_program target)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/../${ORVO_LIB_DIR}")
    target_link_libraries(${target} PRIVATE orvo_options)
    if(ORVO_SANITIZER)
        # Sanitizers refuse RTLD_DEEPBIND, which the plug-in opens its libraries with; this takes the flag out.
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support/DropDeepBind.cpp")
        set_target_properties(${target} PROPERTIES ENABLE_EXPORTS ON)
        target_link_options(${target} PRIVATE -Wl,--export-dynamic-symbol=dlopen)
    endif()
endfunction()
