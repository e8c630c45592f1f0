# Settings and helpers that every folder shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
find_program(ORU_CCACHE ccache DOC "Compiler cache; used when it is there")
if(ORU_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Sources with a precompiled header are cached only with these leniencies.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
    CCACHE_SLOPPINESS=pch_defines,time_macros ${ORU_CCACHE})
endif()

add_library(oru_settings INTERFACE)
target_include_directories(oru_settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(oru_settings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Woverloaded-virtual -Wnon-virtual-dtor
  -Wconversion -Wsign-conversion -Wcast-qual -Wold-style-cast -Wundef
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)  # positions in traces say where in the tree, not on the disk

# -DORU_SANITIZE=address,undefined or =thread
set(ORU_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")
if(ORU_SANITIZE)
  target_compile_options(oru_settings INTERFACE -fsanitize=${ORU_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(oru_settings INTERFACE -fsanitize=${ORU_SANITIZE})
endif()

# The objects of one folder; the shared objects are put together from them.
#   oru_folder(agent SOURCES a.cc b.cc USES OruCountersSm)
function(oru_folder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC oru_settings ${ARG_USES})
endfunction()

# A shared object that is put together from its own sources and the objects of folders, and that is
# installed (packaging/): who links it there has its headers, but none of the settings above.
#   oru_shared_object(OruCountersSm SOURCES registration.cc FOLDERS counters counters_vlan
#     USES OruPlatform)
function(oru_shared_object name)
  cmake_parse_arguments(ARG "" "" "SOURCES;FOLDERS;USES" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC $<BUILD_INTERFACE:oru_settings> ${ARG_USES})
  target_compile_features(${name} PUBLIC cxx_std_20)
  # Before 1.0, programs are built anew for each minor version.
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  foreach(folder ${ARG_FOLDERS})
    target_sources(${name} PRIVATE $<TARGET_OBJECTS:${folder}>)
  endforeach()
endfunction()

# What is tested is compiled as it is shipped; the tests themselves in half the time. All of them
# begin with GoogleTest, which is read once (test_prelude, in tests/). Not under the sanitizers, so
# that somewhere each source is compiled with nothing but what it includes itself.
set(ORU_TEST_OPTIONS -O1 -g1 -fpch-preprocess)

# A test program: oru_test(kel_clock_test SOURCES clock_test.cc USES OruPlatform)
# One that starts threads has the label `threads`, and the target threads_tests builds all of
# those: it is them that the thread sanitizer is for. SERIAL: its tests are run with no others beside
# them; for processes that compete for the processors by themselves.
add_custom_target(threads_tests)
function(oru_test name)
  cmake_parse_arguments(ARG "SERIAL" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE oru_settings ${ARG_USES} GTest::gmock GTest::gtest_main)
  if(NOT ORU_SANITIZE)
    target_compile_options(${name} PRIVATE ${ORU_TEST_OPTIONS})
    target_precompile_headers(${name} REUSE_FROM test_prelude)
  endif()
  # For what hangs alone: machines may be slow, and sanitizers are.
  set(properties TIMEOUT 600)
  if(ORU_SANITIZE)
    set(properties TIMEOUT 1200)
  endif()
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  foreach(source ${ARG_SOURCES})
    file(STRINGS ${source} starts_threads REGEX "^#include <(thread|future|pthread\\.h)>")
    if(starts_threads)
      list(APPEND properties LABELS threads)
      add_dependencies(threads_tests ${name})
      break()
    endif()
  endforeach()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES ${properties})
endfunction()
