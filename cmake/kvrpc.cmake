# The build rules that every directory shares.

add_library(kvrpc_flags INTERFACE)
target_include_directories(kvrpc_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(kvrpc_flags INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -fno-exceptions -fno-rtti
  -fdata-sections)  # so that the module can leave out the tables that only kvrpc-schema reads
if(SKBUILD)  # two builds of a wheel give the same bytes, whatever folders they are made in
  target_compile_options(kvrpc_flags INTERFACE
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()
if(KVRPC_SANITIZE)
  target_compile_options(kvrpc_flags INTERFACE
    -fsanitize=${KVRPC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    -ftls-model=initial-exec)  # LeakSanitizer may crash on a TLS block of a dlopened library
  target_link_options(kvrpc_flags INTERFACE -fsanitize=${KVRPC_SANITIZE})
endif()
if(KVRPC_COVERAGE)
  target_compile_options(kvrpc_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(kvrpc_flags INTERFACE --coverage)
endif()

# kvrpc_sources(VARIABLE DIRECTORY): the directory's sources for this platform.
function(kvrpc_sources variable directory)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${directory}/*.cpp)
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_posix(_test)?\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "_win32(_test)?\\.cpp$")
  endif()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# kvrpc_library(NAME [OTHER...]): src/NAME as the static library kvrpc_NAME, linked to each OTHER.
function(kvrpc_library name)
  kvrpc_sources(sources ${PROJECT_SOURCE_DIR}/src/${name})
  add_library(kvrpc_${name} STATIC ${sources})
  target_link_libraries(kvrpc_${name} PRIVATE kvrpc_flags)
  # Every switch lists all values: the compiler finds the places that a new wire kind lacks.
  target_compile_options(kvrpc_${name} PRIVATE -Wswitch-enum)
  foreach(other ${ARGN})
    target_link_libraries(kvrpc_${name} PUBLIC kvrpc_${other})
  endforeach()
  if(WIN32 AND name STREQUAL "rpc")
    target_link_libraries(kvrpc_rpc PUBLIC ws2_32)
  endif()
endfunction()

# The allocation functions that tests/unit/support/failing_heap.h can make fail.
set(KVRPC_WRAPPED_HEAP
  -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=free)

# kvrpc_runtime(): puts the compiler's runtime beside the programs that are built for Windows.
function(kvrpc_runtime)
  foreach(name libstdc++-6.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    configure_file(${library} ${PROJECT_BINARY_DIR}/${name} COPYONLY)
  endforeach()
endfunction()
if(WIN32)
  kvrpc_runtime()
endif()

# kvrpc_find_googletest(): the target GTest::gtest_main, built from source for another platform.
function(kvrpc_find_googletest)
  if(NOT CMAKE_CROSSCOMPILING)
    find_package(GTest REQUIRED)
  elseif(NOT TARGET GTest::gtest_main)
    set(BUILD_GMOCK OFF CACHE INTERNAL "")
    set(INSTALL_GTEST OFF CACHE INTERNAL "")
    add_subdirectory(/usr/src/googletest googletest EXCLUDE_FROM_ALL)
  endif()
endfunction()

# kvrpc_unit_tests(NAME): tests/unit/NAME as one GoogleTest program over kvrpc_NAME.
function(kvrpc_unit_tests name)
  kvrpc_test_program(${name} unit/${name} kvrpc_${name})
endfunction()

# kvrpc_module_tests(): tests/unit/module over the sources of src/module that need no interpreter.
function(kvrpc_module_tests)
  kvrpc_sources(sources ${PROJECT_SOURCE_DIR}/src/module)
  list(FILTER sources INCLUDE REGEX "/large_pages_")
  kvrpc_test_program(module unit/module)
  target_sources(module_test PRIVATE ${sources})
  set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# kvrpc_regression_tests(): tests/regression/*.cpp as one program over everything but the module.
function(kvrpc_regression_tests)
  kvrpc_test_program(regression regression kvrpc_bridge kvrpc_directory)
endfunction()

# kvrpc_test_support(): what all test programs share: the options, GoogleTest's compiled headers, the
# allocation functions that can fail.
function(kvrpc_test_support)
  if(TARGET test_support)
    return()
  endif()
  kvrpc_find_googletest()
  add_library(test_support OBJECT ${PROJECT_SOURCE_DIR}/tests/unit/support/failing_heap.cpp)
  target_include_directories(test_support PUBLIC ${PROJECT_SOURCE_DIR}/tests/unit)
  target_link_libraries(test_support PUBLIC kvrpc_flags GTest::gtest_main)
  target_link_options(test_support INTERFACE ${KVRPC_WRAPPED_HEAP})
  target_compile_definitions(test_support PUBLIC KVRPC_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  # At -O3 g++ 12 warns of copies beyond the end of a vector of one element, where there are none.
  target_compile_options(test_support PUBLIC $<$<CONFIG:Release>:-O1>)
  if(KVRPC_SANITIZE)  # tests need neither optimizer nor variables in stack traces: half the time
    target_compile_options(test_support PUBLIC -O0 -g1)
  endif()
  set_target_properties(test_support PROPERTIES POSITION_INDEPENDENT_CODE OFF)  # as programs are
  target_precompile_headers(test_support PRIVATE <gtest/gtest.h> <string> <vector>)
endfunction()

# kvrpc_test_program(NAME DIRECTORY LIBRARY...): tests/DIRECTORY as the GoogleTest program
# NAME_test. ctest runs it as two processes with half of the tests each: this uses two processors
# without a process for each test.
function(kvrpc_test_program name directory)
  kvrpc_sources(sources ${PROJECT_SOURCE_DIR}/tests/${directory})
  kvrpc_test_support()
  add_executable(${name}_test ${sources})
  target_link_libraries(${name}_test PRIVATE ${ARGN} test_support)
  set_target_properties(${name}_test PROPERTIES POSITION_INDEPENDENT_CODE OFF
    UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)  # a third of the time
  target_precompile_headers(${name}_test REUSE_FROM test_support)
  foreach(half 0 1)
    add_test(NAME ${name}_test.${half} COMMAND ${name}_test --gtest_brief=1)
    set_tests_properties(${name}_test.${half} PROPERTIES TIMEOUT 300
      ENVIRONMENT "GTEST_TOTAL_SHARDS=2;GTEST_SHARD_INDEX=${half}")
  endforeach()
endfunction()

# kvrpc_bench_programs(): bench/*.cpp, one program each, built by the target `bench`.
function(kvrpc_bench_programs)
  add_custom_target(bench)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
  foreach(source ${sources})
    get_filename_component(name ${source} NAME_WE)
    add_executable(bench_${name} EXCLUDE_FROM_ALL ${source})
    add_dependencies(bench bench_${name})
    target_link_libraries(bench_${name} PRIVATE kvrpc_bridge kvrpc_directory kvrpc_flags)
  endforeach()
endfunction()

# kvrpc_fuzz_targets(): fuzz/*.cpp, one libFuzzer program each.
function(kvrpc_fuzz_targets)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/*.cpp)
  foreach(source ${sources})
    get_filename_component(name ${source} NAME_WE)
    kvrpc_sources(reference ${PROJECT_SOURCE_DIR}/tests/unit/bridge/reference)
    add_executable(fuzz_${name} ${source} ${reference})
    target_compile_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit)
    target_link_libraries(fuzz_${name} PRIVATE kvrpc_bridge kvrpc_flags)
  endforeach()
endfunction()
