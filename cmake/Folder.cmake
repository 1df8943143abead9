# ovo_folder(NAME SOURCES files... DEPS targets...): the one static library of a folder.
function(ovo_folder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}")
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE "${PROJECT_SOURCE_DIR}")
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# ovo_test(NAME SOURCES files... DEPS targets...): one GoogleTest program, one ctest entry.
# A program whose last lines list skipped cases (no root, no IPv6) and no failed one shows as
# Skipped, so that nobody takes it for a full pass; a failure's lines come after those.
set(OVO_TEST_PREFIX "" CACHE STRING "Stands before the names of this tree's tests")
function(ovo_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gmock GTest::gtest_main)
  add_test(NAME ${OVO_TEST_PREFIX}${name} COMMAND ${name})
  set_tests_properties(${OVO_TEST_PREFIX}${name} PROPERTIES
    TIMEOUT 300
    LABELS unit
    ENVIRONMENT "UBSAN_OPTIONS=print_stacktrace=1"
    SKIP_REGULAR_EXPRESSION "SKIPPED . [0-9]+ tests?, listed below:\n(.  SKIPPED . [^\n]*\n)+$")
endfunction()
