# How this tree declares its libraries and tests, so that every folder reads alike.

option(QUORVEL_COVERAGE "Count what the tests reach of the libraries (GCC)" OFF)
set(QUORVEL_SANITIZE "" CACHE STRING "address (with leak and undefined) or thread")

add_library(quorvel_options INTERFACE)
target_compile_features(quorvel_options INTERFACE cxx_std_20)
target_compile_definitions(quorvel_options INTERFACE _GNU_SOURCE)
if(QUORVEL_SANITIZE)
    target_compile_definitions(quorvel_options INTERFACE QUORVEL_SANITIZED)
endif()
target_compile_options(
    quorvel_options
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
              $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-missing-field-initializers>
)

# A compiler cache may give back a precompiled header that is older than what it was made from.
add_compile_options("$<$<COMPILE_LANG_AND_ID:CXX,Clang>:SHELL:-Xclang -fno-pch-timestamp>")

# The sanitizers' run-time is linked in, because a shared one refuses to start behind the bench's
# preload library.
if(QUORVEL_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer -g1)
    add_link_options(-fsanitize=address,undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_link_options(-static-libasan -static-libubsan)
    endif()
elseif(QUORVEL_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -g1)
    add_link_options(-fsanitize=thread)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_link_options(-static-libtsan)
    endif()
endif()

# quorvel_library(NAME SOURCES file... [USES target...] [PRIVATE_USES target...])
# One folder, one static library: its headers are the folder's, its dependencies the floors below.
function(quorvel_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    # Without exceptions some processors get no unwind tables, which a crash trace needs.
    target_compile_options(
        ${name} PRIVATE -funwind-tables $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>
    )
    target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE quorvel_options ${ARG_PRIVATE_USES})
    if(QUORVEL_COVERAGE)
        target_compile_options(${name} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${name} INTERFACE --coverage)
    endif()
endfunction()

# A trace through a test needs its lines; its variables double the time of compiling. GTK asks for
# -pthread, and a precompiled header serves those alone who have been asked for the same.
# GCC 12 that optimizes takes the short buffer of a moved std::string for all it has.
set(QUORVEL_TEST_OPTIONS -g1 -pthread)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    list(APPEND QUORVEL_TEST_OPTIONS -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()

# The environment in which a test of ours runs under the sanitizer of this build.
function(quorvel_sanitizer_environment result)
    set(suppressions ${CMAKE_SOURCE_DIR}/tests/sanitizers)
    set(environment)
    if(QUORVEL_SANITIZE STREQUAL "address")
        set(environment "LSAN_OPTIONS=suppressions=${suppressions}/lsan.supp")
    elseif(QUORVEL_SANITIZE STREQUAL "thread")
        set(environment "TSAN_OPTIONS=suppressions=${suppressions}/tsan.supp:halt_on_error=1")
    endif()
    set(${result} ${environment} PARENT_SCOPE)
endfunction()

# quorvel_sharded_tests(PROGRAM COUNT PROPERTY VALUE...)
function(quorvel_sharded_tests program count)
    foreach(shard RANGE 1 ${count})
        math(EXPR index "${shard} - 1")
        add_test(NAME ${program}.${shard}_of_${count} COMMAND ${program})
        set_tests_properties(${program}.${shard}_of_${count} PROPERTIES ${ARGN})
        set_property(
            TEST ${program}.${shard}_of_${count}
            APPEND
            PROPERTY ENVIRONMENT GTEST_TOTAL_SHARDS=${count} GTEST_SHARD_INDEX=${index}
        )
        set_property(TEST ${program}.${shard}_of_${count} PROPERTY TIMEOUT 900)
    endforeach()
endfunction()

# quorvel_test(NAME SOURCES file... [USES target...] [TIMEOUT s] [LABELS label] [ENVIRONMENT A=b]
#              [ALONE] [SHARDS n])
# Every test process runs in a bench world of its own: test_support starts it once more behind the
# preload library, which sends the instrument's paths into the world and writes down what would have
# switched the machine off. That holds for a test program that is started by hand, too. ALONE: no
# other test runs at the same time. SHARDS: the start of a sanitized program takes longer than most
# tests; there it runs this often, each time with its share of the tests, and not once for each test.
function(quorvel_test name)
    cmake_parse_arguments(ARG "ALONE" "TIMEOUT;SHARDS" "SOURCES;USES;LABELS;ENVIRONMENT" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 180)
    endif()
    set(properties TIMEOUT ${ARG_TIMEOUT})
    if(ARG_LABELS)
        list(APPEND properties LABELS ${ARG_LABELS})
    endif()
    if(ARG_ALONE)
        list(APPEND properties RUN_SERIAL TRUE)
    endif()
    quorvel_sanitizer_environment(sanitizer_environment)
    list(APPEND ARG_ENVIRONMENT ${sanitizer_environment})
    if(ARG_ENVIRONMENT)
        list(APPEND properties ENVIRONMENT ${ARG_ENVIRONMENT})
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE quorvel_options test_support ${ARG_USES} GTest::gmock_main)
    target_precompile_headers(${name} REUSE_FROM test_headers)
    target_compile_options(${name} PRIVATE ${QUORVEL_TEST_OPTIONS})
    add_dependencies(${name} quorvelbench)
    if(QUORVEL_SANITIZE AND ARG_SHARDS)
        quorvel_sharded_tests(${name} ${ARG_SHARDS} ${properties})
        return()
    endif()
    include(GoogleTest)
    gtest_discover_tests(
        ${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES ${properties}
    )
endfunction()
