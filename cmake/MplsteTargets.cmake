# Helpers that give every target of this project the same language level, warnings and sanitizers,
# and nothing to anybody who links to it.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
endif()

# mplste_target(NAME): our rules for one of our targets.
function(mplste_target name)
  target_compile_features(${name} PRIVATE cxx_std_20)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
  # -fno-gnu-unique: a unique symbol would keep an unloaded library mapped.
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Werror
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  if(MPLSTE_SANITIZE)
    target_compile_options(${name} PRIVATE -O1 -g1 -fno-omit-frame-pointer
      -fsanitize=address,undefined -fno-sanitize-recover=all)
    target_link_options(${name} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# mplste_test(NAME SOURCES... LIBS...): a GoogleTest program; each of its cases is a CTest test.
function(mplste_test name)
  if(NOT MPLSTE_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  mplste_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
if(MPLSTE_TESTS)
  include(GoogleTest)
endif()
