# zefaline_test(name SOURCES ... LIBS ... [LABELS ...] [TIMEOUT seconds] [SERIAL] [JOINED])
# JOINED: sources that make the compiler write the same long templates again and again are compiled several at once.
# One GoogleTest program; each of its tests is a test of CTest, but in sanitized and counting builds, where a process
# costs more than most tests, a program is one unless it is a system test. Object libraries are listed one by one, since
# the objects of one do not come with another.
include(GoogleTest)

# All programs whose tests bear the label "tsan": what the thread-sanitizer build needs.
add_custom_target(tsan_targets)

function(zefaline_test_compile_options target labels)
    # A warning that test data sets off without reason when the compiler optimises hard.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    if(ZEFALINE_SANITIZE STREQUAL "address")
        target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
    endif()
    # The assertion macros take most of a build's time when they are optimised or instrumented; what they test keeps its
    # optimisation and its checks of undefined behaviour. System tests compare whole pictures themselves.
    if(NOT "system" IN_LIST labels)
        target_compile_options(${target} PRIVATE -O0)
    endif()
endfunction()

# The headers of these libraries take longer than most tests: programs with the same options share one reading of them.
function(zefaline_share_test_headers target labels)
    set(name test_headers)
    if("system" IN_LIST labels)
        set(name test_headers_optimised)
    endif()
    if(NOT TARGET ${name})
        file(TOUCH ${CMAKE_BINARY_DIR}/${name}.cpp)
        add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/${name}.cpp)
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
        target_compile_options(${name} PRIVATE -fPIE) # as the programs
        target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest nlohmann_json::nlohmann_json Threads::Threads)
        target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <nlohmann/json.hpp>)
        zefaline_test_compile_options(${name} "${labels}")
    endif()
    target_precompile_headers(${target} REUSE_FROM ${name})
endfunction()

function(zefaline_test name)
    cmake_parse_arguments(ARG "SERIAL;JOINED" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    if(ARG_JOINED)
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 7)
        # Fixtures in anonymous namespaces are meant to be seen by their own tests alone.
        target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src
                               ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest GTest::gtest_main Threads::Threads)
    zefaline_test_compile_options(${name} "${ARG_LABELS}")
    zefaline_share_test_headers(${name} "${ARG_LABELS}")
    if(ZEFALINE_SANITIZE AND "broad" IN_LIST ARG_LABELS) # can be built and run by its name
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL TRUE)
        return()
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set(properties TIMEOUT ${ARG_TIMEOUT})
    if("tsan" IN_LIST ARG_LABELS)
        add_dependencies(tsan_targets ${name})
    endif()
    if(ARG_SERIAL)
        list(APPEND properties RUN_SERIAL TRUE)
    endif()
    if((ZEFALINE_SANITIZE OR ZEFALINE_COVERAGE) AND NOT "system" IN_LIST ARG_LABELS)
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 600 LABELS "${ARG_LABELS}")
        return()
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
    if(ARG_LABELS) # among the properties above only the first of several would count
        set(labels_file ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
        file(WRITE ${labels_file} "set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"${ARG_LABELS}\")\n")
        set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${labels_file})
    endif()
endfunction()

# zefaline_alone(tests ...): tests of this folder that run with no other beside them. A relay that has to wait for its
# turn delays one path so much that the other is given up.
function(zefaline_alone)
    list(JOIN ARGN " " names)
    set(file ${CMAKE_CURRENT_BINARY_DIR}/alone.cmake)
    file(WRITE ${file} "set_tests_properties(${names} PROPERTIES RUN_SERIAL TRUE)\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
