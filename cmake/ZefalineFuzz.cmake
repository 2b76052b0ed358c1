# zefaline_fuzz(name SOURCES ... LIBS ... CORPUS folder [DICTIONARY file])
# With ZEFALINE_SANITIZE=fuzz a libFuzzer program with a short run as its test; in every other build a program that
# replays the corpus once.
set(ZEFALINE_FUZZ_SECONDS 10 CACHE STRING "length of the short run of each fuzz target")
# All fuzz targets: what the fuzz build needs.
add_custom_target(fuzz_targets)
set(zefaline_replay_main ${CMAKE_CURRENT_LIST_DIR}/ReplayMain.cpp)

function(zefaline_fuzz name)
    cmake_parse_arguments(ARG "" "CORPUS;DICTIONARY" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    add_dependencies(fuzz_targets ${name})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src
                               ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} Threads::Threads)
    if(ZEFALINE_SANITIZE STREQUAL "fuzz")
        target_link_options(${name} PRIVATE -fsanitize=fuzzer,address,undefined)
        # To choose inputs by how rare what they reach is takes most of the time where there are many edges.
        set(arguments -max_total_time=${ZEFALINE_FUZZ_SECONDS} -entropic=0 -timeout=10 -rss_limit_mb=3000 -print_final_stats=1)
        if(ARG_DICTIONARY)
            list(APPEND arguments -dict=${ARG_DICTIONARY})
        endif()
        # New inputs go to the build folder; the seeds in the tree are only read.
        file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/corpus/${name})
        add_test(NAME ${name}.ShortRun COMMAND ${name} ${arguments} ${CMAKE_BINARY_DIR}/corpus/${name} ${ARG_CORPUS})
        set_tests_properties(${name}.ShortRun PROPERTIES TIMEOUT 300 LABELS fuzz)
    else()
        target_sources(${name} PRIVATE ${zefaline_replay_main})
        add_test(NAME ${name}.Replay COMMAND ${name} ${ARG_CORPUS})
        set_tests_properties(${name}.Replay PROPERTIES TIMEOUT 300 LABELS fuzz)
    endif()
endfunction()
