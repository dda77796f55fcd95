# Helpers that give every target of this project the same language level, warnings and sanitizers,
# and nothing to anybody who links to it.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Not every processor has it.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection MPLSTE_CF_PROTECTION)

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
    # Fuzzing wants speed; compiling the tests quickly is what counts otherwise.
    target_compile_options(${name} PRIVATE $<IF:$<BOOL:${MPLSTE_FUZZ}>,-O1,-O0> -g1 -fno-omit-frame-pointer
      -fsanitize=address,undefined -fno-sanitize-recover=all
      # A null pointer ends in a signal that AddressSanitizer reports, and only the code in C takes octets for something
      # else: to check every access for both would take a third of the compiler's time.
      $<$<COMPILE_LANGUAGE:CXX>:-fno-sanitize=null,alignment>)
    target_link_options(${name} PRIVATE -fsanitize=address,undefined)
    if(MPLSTE_FUZZ)
      target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
  else()
    # What is shipped does not tell where it was built, and is hard to take over by what it has overlooked: buffers and
    # the stack are guarded, and what the loader has filled in is not written any more.
    target_compile_options(${name} PRIVATE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
      -fstack-protector-strong -fstack-clash-protection $<$<BOOL:${MPLSTE_CF_PROTECTION}>:-fcf-protection>
      $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(${name} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack
      $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
  endif()
endfunction()

# mplste_gtest(NAME SOURCES... LIBS...): a GoogleTest program; each of its suites is a CTest test.
function(mplste_gtest name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  mplste_target(${name})
  # In a unity build a fixture of an anonymous namespace seems to stand in an included file.
  target_compile_options(${name} PRIVATE -Wno-subobject-linkage)
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  set(suites ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake)
  add_custom_command(TARGET ${name} POST_BUILD BYPRODUCTS ${suites}
    COMMAND ${CMAKE_COMMAND} -D PROGRAM=$<TARGET_FILE:${name}> -D OUTPUT=${suites}
      -P ${PROJECT_SOURCE_DIR}/cmake/DiscoverSuites.cmake)
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${suites})
endfunction()

# mplste_test(NAME LIBS... [SOURCES...]): the unit tests of a folder, in tests/ beside the code, with sources that
# tests share.
function(mplste_test name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tests/*.cpp)
  if(NOT MPLSTE_TESTS OR NOT MPLSTE_UNIT_TESTS OR NOT sources)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  mplste_gtest(${name} SOURCES ${sources} ${arg_SOURCES} LIBS ${arg_LIBS})
  # What every test includes is compiled once.
  if(NOT TARGET test_headers)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "int main() {}\n")
    add_executable(test_headers ${CMAKE_BINARY_DIR}/test_headers.cpp)
    mplste_target(test_headers)
    target_link_libraries(test_headers PRIVATE GTest::gmock GTest::gtest fmt::fmt)
    target_precompile_headers(test_headers PRIVATE
      <gmock/gmock.h> <gtest/gtest.h> <fmt/format.h> <functional>
      ${PROJECT_SOURCE_DIR}/inputs/rsvp/KelpStatus.h
      ${PROJECT_SOURCE_DIR}/inputs/rsvp/LerConfig.h
      ${PROJECT_SOURCE_DIR}/inputs/rsvp/LerHiveStatus.h)
  endif()
  target_precompile_headers(${name} REUSE_FROM test_headers)
endfunction()

# mplste_module_part(NAME): an object library of the module. Hidden by default: the module exports what its export
# list names, and tests link the objects directly.
function(mplste_module_part name)
  mplste_target(${name})
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PUBLIC mplste_runtime)
endfunction()

# mplste_built_with(RESULT [LIBRARY VERSION]...): one line for --version: the libraries, the compiler and how it was asked.
function(mplste_built_with result)
  set(parts "")
  set(rest ${ARGN})
  while(rest)
    list(POP_FRONT rest library version)
    list(APPEND parts "${library} ${version}")
  endwhile()
  list(JOIN parts ", " libraries)
  set(kind "${CMAKE_BUILD_TYPE}")
  if(MPLSTE_SANITIZE)
    string(APPEND kind ", sanitizers")
  endif()
  set(${result} "${libraries} by ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION} (${kind})" PARENT_SCOPE)
endfunction()
