include(GoogleTest)
find_package(GTest REQUIRED)

# vorn_test(NAME SOURCES file... LIBRARIES library... [PRECOMPILE header...]): one test program; each of its tests
# runs in a process of its own. It may start the programs of the build: their folder is in VORN_BIN.
function(vorn_test NAME)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES;PRECOMPILE" ${ARGN})
  add_executable(${NAME} ${TEST_SOURCES})
  set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${NAME} PRIVATE ${TEST_LIBRARIES} GTest::gmock GTest::gtest_main)
  target_compile_options(${NAME} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O0>) # optimising them takes longer than running them
  list(LENGTH TEST_SOURCES source_count)
  if(source_count GREATER 2)
    target_precompile_headers(${NAME} PRIVATE <gmock/gmock.h> <gtest/gtest.h> ${TEST_PRECOMPILE})
  endif()
  gtest_discover_tests(${NAME}
    DISCOVERY_MODE PRE_TEST
    PROPERTIES
      TIMEOUT 900
      ENVIRONMENT "VORN_BIN=${CMAKE_BINARY_DIR}/bin")
  foreach(source ${TEST_SOURCES})
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    set_property(GLOBAL APPEND PROPERTY VORN_TEST_SOURCES ${source})
  endforeach()
endfunction()

# Fails the configuration when a test file belongs to no test program.
function(vorn_require_all_tests_registered FOLDER)
  get_property(registered GLOBAL PROPERTY VORN_TEST_SOURCES)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${FOLDER}/*_test.cpp)
  foreach(file ${found})
    if(NOT file IN_LIST registered)
      message(FATAL_ERROR "${file} belongs to no test program")
    endif()
  endforeach()
endfunction()
