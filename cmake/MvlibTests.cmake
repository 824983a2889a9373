# GoogleTest: the system's library natively, its sources (also a Debian package) for Windows.
if(WIN32)
  set(MVLIB_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources")
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  # Below the programs' folder there is no room for a second GoogleTest: it is linked into each program.
  set(BUILD_SHARED_LIBS OFF)
  # Its CMake files ask for an older CMake than CMake still likes.
  set(CMAKE_WARN_DEPRECATED OFF CACHE BOOL "" FORCE)
  add_subdirectory(${MVLIB_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
  endif()
else()
  find_package(GTest REQUIRED)
endif()

option(MVLIB_TEST_PCH "Precompile the headers that all tests include" ON)

# The tests are many and not what is measured: they are not optimised, which makes them the faster to compile. The
# libraries that they test have the flags of the build type.
add_library(mvlib_test_options INTERFACE)
target_compile_options(mvlib_test_options INTERFACE -O0)

# What every test program finds in its environment; nothing of the user's is touched.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/tests/run)
set(MVLIB_TEST_ENVIRONMENT
    "MVLIB_REGISTRY=${PROJECT_BINARY_DIR}/tests/registry.db"
    "XDG_DATA_HOME=${PROJECT_BINARY_DIR}/tests/share"
    "XDG_RUNTIME_DIR=${PROJECT_BINARY_DIR}/tests/run"
    "ASAN_OPTIONS=allocator_may_return_null=1"
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0"
    "UBSAN_OPTIONS=print_stacktrace=1"
    "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp:second_deadlock_stack=1:allocator_may_return_null=1")

# mvlib_add_tests(<subsystem> SOURCES <file>... [LIBRARY mvafx62] [LIBRARIES <library>...] [TIMEOUT <seconds>]) makes the
# program test_<subsystem> and registers it with CTest. Each run leaves its results as <program>.xml in the folder's
# build folder, where scripts/test counts the cases.
function(mvlib_add_tests subsystem)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LIBRARY;TIMEOUT" "SOURCES;LIBRARIES")
  if(NOT arg_LIBRARY)
    set(arg_LIBRARY mvlib62)
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  set(program test_${subsystem})
  add_executable(${program} ${arg_SOURCES})
  target_link_libraries(${program} PRIVATE mvlib_options mvlib_test_options ${arg_LIBRARY} ${arg_LIBRARIES}
                                           test_support GTest::gtest)
  if(MVLIB_TEST_PCH)
    target_precompile_headers(${program} REUSE_FROM test_headers)
  endif()
  # The name is relative to the working folder: a Windows program knows no other root.
  add_test(NAME ${subsystem} COMMAND ${program} --gtest_output=xml:${program}.xml)
  set_tests_properties(${subsystem} PROPERTIES ENVIRONMENT "${MVLIB_TEST_ENVIRONMENT};MVLIB_WIN32_TIMEOUT=${arg_TIMEOUT}"
                                               TIMEOUT ${arg_TIMEOUT})
endfunction()
