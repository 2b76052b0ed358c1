# What every target of the tree shares: language, warnings, sanitizers, compiler cache.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

set(ZEFALINE_SANITIZE "" CACHE STRING "address (with undefined behaviour), thread, fuzz, or empty")
set_property(CACHE ZEFALINE_SANITIZE PROPERTY STRINGS "" address thread fuzz)
option(ZEFALINE_COVERAGE "Count which lines run (scripts/coverage)" OFF)

find_program(ZEFALINE_CCACHE ccache)
if(ZEFALINE_CCACHE)
    # Precompiled headers are cached only when these two inexact comparisons are permitted.
    set(zefaline_launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${ZEFALINE_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${zefaline_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${zefaline_launcher})
endif()

# The HTTP library's one-letter macro U breaks other headers; its strings are narrow here anyway.
add_compile_definitions(_TURN_OFF_PLATFORM_STRING)
add_compile_options(-Wall -Wextra -Wpedantic -Werror $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> $<$<COMPILE_LANGUAGE:CXX>:-Wshadow>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # This compiler takes joined strings for overlapping copies when it optimises hard.
    add_compile_options(-fpch-preprocess -Wno-restrict)
endif()

if(ZEFALINE_SANITIZE STREQUAL "address")
    # The check of virtual tables knows a type by the address of its name, which hidden visibility gives every library
    # anew, and the uninitialised-use warning is wrong about the standard library's regular expressions when sanitized.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer -Wno-maybe-uninitialized)
    add_link_options(-fsanitize=address,undefined)
elseif(ZEFALINE_SANITIZE STREQUAL "thread")
    # The compiler warns that this sanitizer does not know fences; the ring uses none.
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
    add_link_options(-fsanitize=thread)
elseif(ZEFALINE_SANITIZE STREQUAL "fuzz")
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(ZEFALINE_COVERAGE)
    add_library(coverage_exit SHARED ${CMAKE_CURRENT_LIST_DIR}/coverage/Exit.c)
    target_compile_definitions(coverage_exit PRIVATE _GNU_SOURCE)
    add_library(coverage_register OBJECT ${CMAKE_CURRENT_LIST_DIR}/coverage/Register.c)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
    link_libraries($<BUILD_INTERFACE:coverage_exit> $<BUILD_INTERFACE:coverage_register>)
endif()

function(zefaline_add_folders)
    foreach(folder IN LISTS ARGN)
        add_subdirectory(${folder})
    endforeach()
endfunction()

# zefaline_quick_when_sanitized(target [JOINED] [header ...]): for targets of many heavy headers and no media, whose
# instrumented code takes long to optimise. The headers are read once for all sources, in optimised builds the compiler
# would warn of their insides then; JOINED targets are compiled several sources at once.
function(zefaline_quick_when_sanitized target)
    cmake_parse_arguments(ARG "JOINED" "" "" ${ARGN})
    if(ZEFALINE_SANITIZE AND ARG_JOINED)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
    endif()
    if(ZEFALINE_SANITIZE MATCHES "address|thread" OR ZEFALINE_COVERAGE)
        target_compile_options(${target} PRIVATE -O0)
        if(ARG_UNPARSED_ARGUMENTS)
            target_precompile_headers(${target} PRIVATE ${ARG_UNPARSED_ARGUMENTS})
        endif()
    endif()
endfunction()

# zefaline_interface_sources(target): what is compiled for it defines an exported interface. A release build describes
# those types, and only those, to the comparison of scripts/abi.
function(zefaline_interface_sources target)
    if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT ZEFALINE_SANITIZE)
        target_compile_options(${target} PRIVATE -g -fno-var-tracking)
    endif()
endfunction()

# zefaline_detached_descriptions(library): the descriptions lie beside the library, which is the same without them.
function(zefaline_detached_descriptions library)
    if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT ZEFALINE_SANITIZE)
        set(file $<TARGET_FILE:${library}>)
        add_custom_command(TARGET ${library} POST_BUILD VERBATIM
                           COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
                           COMMAND ${CMAKE_OBJCOPY} --strip-debug ${file}
                           COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${file}.debug ${file})
    endif()
endfunction()
