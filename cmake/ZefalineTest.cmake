# zefaline_test(name SOURCES ... LIBS ... [LABELS ...] [TIMEOUT seconds] [SERIAL])
# One GoogleTest program; each of its tests is a test of CTest. Object libraries are listed one by one, since the
# objects of one do not come with another.
include(GoogleTest)

# All programs whose tests bear the label "tsan": what the thread-sanitizer build needs.
add_custom_target(tsan_targets)

function(zefaline_test name)
    cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src
                               ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest GTest::gtest_main Threads::Threads)
    # A warning that test data sets off without reason when the compiler optimises hard.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    # The assertion macros take most of a build's time when they are optimised; what they test keeps its optimisation.
    # System tests compare whole pictures themselves.
    if(NOT "system" IN_LIST ARG_LABELS)
        target_compile_options(${name} PRIVATE -O0)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set(properties TIMEOUT ${ARG_TIMEOUT})
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
        if("tsan" IN_LIST ARG_LABELS)
            add_dependencies(tsan_targets ${name})
        endif()
    endif()
    if(ARG_SERIAL)
        list(APPEND properties RUN_SERIAL TRUE)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
