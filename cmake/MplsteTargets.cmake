# Helpers that give every target of this project the same language level, warnings and sanitizers,
# and nothing to anybody who links to it.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # A precompiled header is known by what it was made of.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
endif()

# mplste_target(NAME): our rules for one of our targets.
function(mplste_target name)
  target_compile_features(${name} PRIVATE cxx_std_20)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
  # -fno-gnu-unique: a unique symbol would keep an unloaded library mapped.
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Werror
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique -fpch-preprocess>)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  if(MPLSTE_SANITIZE)
    target_compile_options(${name} PRIVATE -O0 -g1 -fno-omit-frame-pointer
      -fsanitize=address,undefined -fno-sanitize-recover=all)
    target_link_options(${name} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# mplste_test(NAME LIBS...): a GoogleTest program of the sources in tests/ beside the code; each of its cases is a
# CTest test.
function(mplste_test name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tests/*.cpp)
  if(NOT MPLSTE_TESTS OR NOT MPLSTE_UNIT_TESTS OR NOT sources)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
  add_executable(${name} ${sources})
  mplste_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  # What every test includes is compiled once.
  if(NOT TARGET test_headers)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "int main() {}\n")
    add_executable(test_headers ${CMAKE_BINARY_DIR}/test_headers.cpp)
    mplste_target(test_headers)
    target_link_libraries(test_headers PRIVATE GTest::gmock GTest::gtest fmt::fmt)
    target_precompile_headers(test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h> <fmt/format.h> <functional>)
  endif()
  target_precompile_headers(${name} REUSE_FROM test_headers)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
if(MPLSTE_TESTS)
  include(GoogleTest)
endif()

# mplste_module_part(NAME): an object library of the module. Hidden by default: the module exports what its export
# list names, and tests link the objects directly.
function(mplste_module_part name)
  mplste_target(${name})
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PUBLIC mplste_runtime)
endfunction()
