include(GoogleTest)
set(VORN_PRINTED_FOLDER ${CMAKE_BINARY_DIR}/tests/printed)
find_package(GTest REQUIRED)

# Made here, since a machine has only the locales of its own country.
set(FOREIGN_LOCALE de_DE.UTF-8)
set(foreign_locale_file ${CMAKE_BINARY_DIR}/locale/${FOREIGN_LOCALE}/LC_NUMERIC)
add_custom_command(OUTPUT ${foreign_locale_file}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/locale
  COMMAND localedef --no-archive -i de_DE -f UTF-8 ${CMAKE_BINARY_DIR}/locale/${FOREIGN_LOCALE}
  VERBATIM)
add_custom_target(foreign_locale DEPENDS ${foreign_locale_file})

# vorn_test(NAME SOURCES file... LIBRARIES library... [FOREIGN_LOCALE] [RUNS_VORNHOST] [SERIAL tests]): one test program; each
# of its tests runs in a process of its own. It may start the programs of the build: their folder is in VORN_BIN. With
# FOREIGN_LOCALE every test runs once more under a locale with a decimal comma, but not under sanitizers. With RUNS_VORNHOST every test must start
# vornhost: what it prints is kept, and held against docs/schemas once they have run. The SERIAL tests, as a filter of
# GoogleTest, run beside no other: they keep the machine busy themselves.
function(vorn_test NAME)
  cmake_parse_arguments(TEST "FOREIGN_LOCALE;RUNS_VORNHOST" "SERIAL" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${NAME} ${TEST_SOURCES})
  # Eight sources at a time: their headers take longest.
  set_target_properties(${NAME} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  target_link_libraries(${NAME} PRIVATE ${TEST_LIBRARIES} GTest::gmock GTest::gtest_main)
  target_compile_options(${NAME} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O0 -U_FORTIFY_SOURCE>) # optimising them takes longer than running them
  set(kept)
  if(TEST_RUNS_VORNHOST)
    # A second list of variables, since the discovery cuts each at its first value.
    set(kept ENVIRONMENT_MODIFICATION "VORN_PRINTED=set:${VORN_PRINTED_FOLDER}" FIXTURES_REQUIRED printed_lines)
  endif()
  set(others)
  if(TEST_SERIAL)
    gtest_discover_tests(${NAME}
      DISCOVERY_MODE PRE_TEST
      TEST_FILTER ${TEST_SERIAL}
      PROPERTIES RUN_SERIAL TRUE ENVIRONMENT "VORN_BIN=${CMAKE_BINARY_DIR}/bin" ${kept})
    set(others TEST_FILTER -${TEST_SERIAL})
  endif()
  gtest_discover_tests(${NAME}
    DISCOVERY_MODE PRE_TEST
    ${others}
    PROPERTIES ENVIRONMENT "VORN_BIN=${CMAKE_BINARY_DIR}/bin" ${kept})
  if(TEST_FOREIGN_LOCALE AND NOT VORN_SANITIZE) # what a locale changes no sanitizer sees
    target_sources(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/foreign_locale.cpp)
    add_dependencies(${NAME} foreign_locale)
    gtest_discover_tests(${NAME}
      DISCOVERY_MODE PRE_TEST
      TEST_PREFIX ForeignLocale.
      PROPERTIES
        ENVIRONMENT "VORN_BIN=${CMAKE_BINARY_DIR}/bin"
        ENVIRONMENT_MODIFICATION "VORN_FOREIGN_LOCALE=set:${CMAKE_BINARY_DIR}/locale/${FOREIGN_LOCALE}")
  endif()
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
