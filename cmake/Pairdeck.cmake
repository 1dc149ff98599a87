# What every target of the project shares: the language, the warnings, the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)

find_program(PAIRDECK_CCACHE ccache)
if(PAIRDECK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${PAIRDECK_CCACHE})
endif()

option(PAIRDECK_PRECOMPILE "Read common headers once for each target, which halves a build" OFF)

add_library(pairdeck_options INTERFACE)
target_include_directories(pairdeck_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(
  pairdeck_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                             -Woverloaded-virtual -Wold-style-cast -Wcast-qual)
# What a distribution asks of a program that reads foreign files: checked stacks and buffers, and
# nothing writable left that a loader fills in.
include(CheckPIESupported)
check_pie_supported()
target_compile_options(
  pairdeck_options
  INTERFACE $<$<CONFIG:Release>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
target_link_options(pairdeck_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
# The desktop's own libraries use "signals" and "slots" as ordinary names.
target_compile_definitions(pairdeck_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII
                                                      QT_NO_CAST_FROM_BYTEARRAY)
if(PAIRDECK_SANITIZE)
  target_compile_options(
    pairdeck_options INTERFACE -fsanitize=${PAIRDECK_SANITIZE} -fno-omit-frame-pointer
                               -fno-sanitize-recover=all)
  # The check of objects' types opens a pipe to look at memory and takes its failure for an error,
  # which the tests without free descriptors cannot have.
  target_compile_options(pairdeck_options INTERFACE -fno-sanitize=vptr)
  # The compiler no longer sees through instrumented code and warns of what is initialised.
  target_compile_options(pairdeck_options
                         INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-error=maybe-uninitialized>)
  # The bounds of the libraries' containers and views, which no sanitizer sees.
  target_compile_definitions(pairdeck_options INTERFACE QT_FORCE_ASSERTS _GLIBCXX_ASSERTIONS)
  target_link_options(pairdeck_options INTERFACE -fsanitize=${PAIRDECK_SANITIZE})
endif()
if(PAIRDECK_COVERAGE)
  # Threads count the same lines, and a process that forked writes where others do.
  target_compile_options(pairdeck_options INTERFACE --coverage -O1 -fprofile-update=atomic)
  target_link_options(pairdeck_options INTERFACE --coverage)
endif()

# precompile(name headers...): the common headers and these, where the build wants that.
function(precompile name)
  if(PAIRDECK_PRECOMPILE)
    target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/Precompiled.h ${ARGN})
  endif()
endfunction()

# pairdeck_room(name SOURCES ... LINKS ... PRIVATE_LINKS ...): one room of the house.
function(pairdeck_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${ROOM_SOURCES})
  target_link_libraries(
    ${name}
    PUBLIC ${ROOM_LINKS}
    PRIVATE pairdeck_options ${ROOM_PRIVATE_LINKS})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  add_dependencies(${name} rooms)
  precompile(${name})
endfunction()

# pairdeck_test(name SOURCES ... LINKS ...): a room's unit tests, run offscreen by ctest.
function(pairdeck_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LINKS;PROPERTIES" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE pairdeck_options ${TEST_LINKS} GTest::gmock)
  precompile(${name} <gmock/gmock.h> <gtest/gtest.h>)
  if(PAIRDECK_SANITIZE)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/sanitizers/Options.cpp)
    target_compile_definitions(
      ${name} PRIVATE PAIRDECK_SANITIZERS_FOLDER="${PROJECT_SOURCE_DIR}/tests/sanitizers")
  endif()
  gtest_discover_tests(
    ${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS unit TIMEOUT 300 ENVIRONMENT QT_QPA_PLATFORM=offscreen ${TEST_PROPERTIES})
endfunction()
