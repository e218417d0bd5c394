# Shared build settings for every Pagemoor target.

set(PM_WARNINGS -Wall -Wextra)
# Warnings stop the build for developers and CI; a packager's compiler may
# know warnings this code has never met, so it is off by default.
if(PM_WERROR)
  list(APPEND PM_WARNINGS -Werror)
endif()

if(PM_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# Every library of ours goes into the link graph that the house-rules check reads.
function(pm_record_library name)
  set_property(GLOBAL APPEND PROPERTY PM_LIBRARIES ${name})
endfunction()

# Writes "target: dep;dep;..." for every recorded library and registers the
# check that libraries link one way (scripts/check-house).
function(pm_check_house_rules)
  get_property(libraries GLOBAL PROPERTY PM_LIBRARIES)
  set(graph "")
  foreach(library ${libraries})
    get_target_property(deps ${library} LINK_LIBRARIES)
    if(NOT deps)
      set(deps "")
    endif()
    string(APPEND graph "${library}: ${deps}\n")
  endforeach()
  file(WRITE ${CMAKE_BINARY_DIR}/link-graph.txt "${graph}")
  if(PM_BUILD_TESTS)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    add_test(NAME HouseRules.LayersAndProtocolLiterals
      COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check-house ${CMAKE_BINARY_DIR}/link-graph.txt ${PROJECT_SOURCE_DIR})
  endif()
endfunction()

# pm_library(NAME [DEPS targets...] [TEST_DEPS targets...] [TEST_DEFINES NAME=value...])
# One static library per folder, made of every .cpp in the folder. Only the
# folder's parent is on its users' include path, so that a header of another
# folder is always included as "Folder/Header.h"; a folder's own headers are
# included bare. Every .cpp in the folder's tests/ makes one test program.
function(pm_library name)
  cmake_parse_arguments(ARG "" "" "DEPS;TEST_DEPS;TEST_DEFINES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${name} STATIC ${sources})
  pm_record_library(${name})
  target_compile_options(${name} PRIVATE ${PM_WARNINGS})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/.. PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  if(ARG_DEPS)
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  endif()
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tests/*.cpp)
  if(tests)
    pm_tests(${name}Tests SOURCES ${tests} DEPS ${name} ${ARG_TEST_DEPS} DEFINES ${ARG_TEST_DEFINES})
  endif()
endfunction()

# pm_tests(NAME SOURCES... DEPS targets... [DEFINES NAME=value...] [LABELS label...])
# One GoogleTest executable; every test case becomes a CTest test.
function(pm_tests name)
  if(NOT PM_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS;DEFINES;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${PM_WARNINGS})
  target_compile_definitions(${name} PRIVATE
    PM_SOURCE_DIR="${CMAKE_SOURCE_DIR}" PM_BINARY_DIR="${CMAKE_BINARY_DIR}" ${ARG_DEFINES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gtest_main GTest::gmock)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${ARG_LABELS}")
endfunction()

if(PM_BUILD_FUZZ)
  # Coverage feedback for every library; the fuzzers themselves link the fuzzer runtime.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
