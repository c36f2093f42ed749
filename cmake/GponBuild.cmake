# Compiler settings and the three target helpers that every folder uses.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS ON) # libfrr's headers need typeof
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# The build type Dev has the flags that its preset gives it: some optimisation, so that the compiler sees and the tests
# run what is shipped, and debug information.

set(GPON_SANITIZE "" CACHE STRING "Build with sanitizers: address (and undefined behaviour), thread, or none")
set_property(CACHE GPON_SANITIZE PROPERTY STRINGS "" address thread)
option(GPON_COVERAGE "Count what runs, for tools/coverage.sh" OFF)
option(GPON_TESTS "Build the tests and benchmarks" ON)
option(GPON_WARNINGS_END_THE_BUILD "A warning of the compiler is an error" ON)
option(GPON_NO_CRASH_HANDLERS "Leave the crash handlers out (for profilers)" OFF)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

set(GPON_WARNINGS -Wall -Wextra -Wformat=2)
if(GPON_WARNINGS_END_THE_BUILD)
  list(APPEND GPON_WARNINGS -Werror)
endif()
# No path of the building machine in what is built.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -fno-omit-frame-pointer)
add_compile_definitions(_GNU_SOURCE)

if(GPON_SANITIZE STREQUAL address)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(GPON_SANITIZE STREQUAL thread)
  add_compile_options(-fsanitize=thread)
  add_link_options(-fsanitize=thread)
elseif(GPON_SANITIZE)
  message(FATAL_ERROR "GPON_SANITIZE is \"${GPON_SANITIZE}\": address or thread")
endif()
if(GPON_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage -Wl,--wrap=_exit,--wrap=abort,--wrap=raise)
  add_library(write_counts STATIC ${CMAKE_SOURCE_DIR}/tests/coverage/write_counts.cpp)
  target_compile_options(write_counts PRIVATE -fno-profile-arcs -fno-test-coverage)
endif()
if(GPON_NO_CRASH_HANDLERS)
  add_compile_definitions(GPON_NO_CRASH_HANDLERS)
endif()

option(GPON_RUN_HERE "Programs for the target start with the compiler's C library and the libraries where they were built" OFF)
if(GPON_RUN_HERE)
  set(C_LIBRARY /usr/powerpc-linux-gnu/lib) # of libc6-powerpc-cross
  # DT_RPATH: it holds for the libraries' own libraries too.
  add_link_options(-Wl,--dynamic-linker=${C_LIBRARY}/ld.so.1 -Wl,--disable-new-dtags
                   -Wl,-rpath,${GPON_TARGET_LIBRARIES}/lib:${C_LIBRARY})
endif()
if(CMAKE_CROSSCOMPILING)
  add_link_options(-Wl,-rpath-link,${GPON_TARGET_LIBRARIES}/lib)
endif()

find_package(Threads REQUIRED)
if(GPON_TESTS)
  find_package(GTest REQUIRED)
  find_package(benchmark REQUIRED)
endif()

# One folder of the system as a library. Its own directory is its public include directory, so
# a header is reachable only from the layers that link it.
# Every .cpp of the folder belongs to the layer, or of the given folders below it.
#   gpon_layer(NAME ov_mmg [FOLDERS text rows ...] LINKS ov_common ...)
function(gpon_layer)
  cmake_parse_arguments(L "" "NAME" "FOLDERS;LINKS" ${ARGN})
  set(L_PLACES ${CMAKE_CURRENT_SOURCE_DIR})
  if(L_FOLDERS)
    list(TRANSFORM L_FOLDERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE L_PLACES)
  endif()
  list(TRANSFORM L_PLACES APPEND /*.cpp OUTPUT_VARIABLE L_PATTERNS)
  file(GLOB L_SOURCES CONFIGURE_DEPENDS ${L_PATTERNS})
  if(L_SOURCES)
    add_library(${L_NAME} STATIC ${L_SOURCES})
    set_property(GLOBAL APPEND PROPERTY GPON_LAYER_ARCHIVES ${L_NAME})
    set(scope PUBLIC)
    target_compile_options(${L_NAME} PRIVATE ${GPON_WARNINGS})
  else()
    add_library(${L_NAME} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${L_NAME} ${scope} ${L_PLACES})
  target_link_libraries(${L_NAME} ${scope} ${L_LINKS} Threads::Threads)
endfunction()

# add_executable() for this tree.
function(gpon_executable NAME)
  add_executable(${NAME} ${ARGN})
  target_compile_options(${NAME} PRIVATE ${GPON_WARNINGS})
  if(GPON_COVERAGE)
    target_link_libraries(${NAME} PRIVATE -Wl,--whole-archive write_counts -Wl,--no-whole-archive)
  endif()
endfunction()

# A program.  gpon_program(NAME chassis-sim SOURCES ... LINKS ...)
function(gpon_program)
  cmake_parse_arguments(P "" "NAME" "SOURCES;LINKS" ${ARGN})
  gpon_executable(${P_NAME} ${P_SOURCES})
  target_link_libraries(${P_NAME} PRIVATE ${P_LINKS} Threads::Threads)
  set_target_properties(${P_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()

# What all test programs are compiled with. Most of their time would go into reading the framework's headers, and into
# the debug information of its types. -fpch-preprocess is for ccache. Compiled once, libstdc++'s headers are the system's no
# more for the compiler, which then sees more of their array bounds than there is.
function(gpon_test_settings NAME)
  target_compile_options(${NAME} PRIVATE -O1 -g1 -fpch-preprocess -Wno-array-bounds)
  if(NOT TARGET test_headers)
    gpon_executable(test_headers ${CMAKE_SOURCE_DIR}/tests/unit/support/test_headers.cpp)
    set_target_properties(test_headers PROPERTIES EXCLUDE_FROM_ALL ON)
    target_compile_options(test_headers PRIVATE -O1 -g1 -fpch-preprocess -Wno-array-bounds)
    target_link_libraries(test_headers PRIVATE GTest::gmock_main)
    target_precompile_headers(test_headers PRIVATE <algorithm> <filesystem> <fstream> <functional> <map> <set> <string>
                              <thread> <vector> <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  target_precompile_headers(${NAME} REUSE_FROM test_headers)
endfunction()

set(GPON_TESTS_TOGETHER 8 CACHE STRING "Test sources that are compiled as one, 1: each by itself")

# Sources of the tests as the compiler gets them: so many *_test.cpp at once, each in a namespace of its own. Most of a
# test's compile time goes into templates that the next test uses, too. What defines functions of the product, or
# specializes its templates, is ALONE.
#   gpon_tests_together(OUT NAME SOURCES... [ALONE a_test.cpp ...])
function(gpon_tests_together OUT NAME)
  cmake_parse_arguments(T "" "" "SOURCES;ALONE" ${ARGN})
  set(result "")
  set(batch "")
  set(batches 0)
  foreach(source IN LISTS T_SOURCES ITEMS end)
    get_filename_component(file ${source} NAME)
    if(source STREQUAL end)
    elseif(GPON_TESTS_TOGETHER GREATER 1 AND file MATCHES "_test\\.cpp$" AND NOT file IN_LIST T_ALONE)
      list(APPEND batch ${source})
      set_source_files_properties(${source} PROPERTIES HEADER_FILE_ONLY ON)
    else()
      list(APPEND result ${source})
    endif()
    list(LENGTH batch length)
    if(length EQUAL GPON_TESTS_TOGETHER OR (length AND source STREQUAL end))
      math(EXPR batches "${batches} + 1")
      set(together ${CMAKE_CURRENT_BINARY_DIR}/together/${NAME}_${batches}.cpp)
      add_custom_command(OUTPUT ${together} DEPENDS ${batch} ${CMAKE_SOURCE_DIR}/cmake/TestsTogether.cmake
                         COMMAND ${CMAKE_COMMAND} -D "SOURCES=${batch}" -D OUTPUT=${together}
                                 -P ${CMAKE_SOURCE_DIR}/cmake/TestsTogether.cmake
                         COMMENT "" VERBATIM)
      # a fixture without a name outside its source is as it should be
      set_source_files_properties(${together} PROPERTIES COMPILE_OPTIONS -Wno-subobject-linkage)
      list(APPEND result ${together} ${batch})
      set(batch "")
    endif()
  endforeach()
  set(${OUT} ${result} PARENT_SCOPE)
endfunction()

# The GoogleTest suites of one layer or room: every .cpp in tests/unit/<FOLDER>, one program, run by ctest as one
# test, or as so many parts of it as SHARDS says, for suites that take long. Its first thread is the event loop's,
# unless it stands below that (WITHOUT_LOOP). Sources that aren't compiled together with others: ALONE.
#   gpon_unit_test(FOLDER ov_mmg LINKS ov_mmg [SHARDS 2] [ALONE a_test.cpp])
function(gpon_unit_test)
  cmake_parse_arguments(T "WITHOUT_LOOP" "FOLDER;SHARDS" "LINKS;ALONE" ${ARGN})
  file(GLOB T_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${T_FOLDER}/*.cpp)
  if(NOT T_SOURCES)
    return()
  endif()
  string(REPLACE "/" "_" T_NAME unit_${T_FOLDER})
  gpon_tests_together(T_SOURCES ${T_NAME} SOURCES ${T_SOURCES} ALONE ${T_ALONE})
  gpon_executable(${T_NAME} ${T_SOURCES})
  gpon_test_settings(${T_NAME})
  if(NOT T_WITHOUT_LOOP)
    target_link_libraries(${T_NAME} PRIVATE $<TARGET_OBJECTS:on_loop> ov_common)
  endif()
  target_link_libraries(${T_NAME} PRIVATE ${T_LINKS} GTest::gmock_main)
  if(NOT T_SHARDS)
    add_test(NAME ${T_NAME} COMMAND ${T_NAME})
    return()
  endif()
  math(EXPR last "${T_SHARDS} - 1")
  foreach(shard RANGE ${last})
    add_test(NAME ${T_NAME}_${shard} COMMAND ${T_NAME})
    set_tests_properties(${T_NAME}_${shard} PROPERTIES
                         ENVIRONMENT "GTEST_TOTAL_SHARDS=${T_SHARDS};GTEST_SHARD_INDEX=${shard}")
  endforeach()
endfunction()

# A Google Benchmark program; built, never run by the tests.
function(gpon_benchmark)
  cmake_parse_arguments(B "" "NAME" "SOURCES;LINKS" ${ARGN})
  gpon_executable(${B_NAME} ${B_SOURCES})
  target_link_libraries(${B_NAME} PRIVATE ${B_LINKS} benchmark::benchmark_main)
endfunction()
