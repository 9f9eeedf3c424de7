# Build options shared by every target of the project.

option(TOLVEX_WERROR "Treat compiler warnings as errors" ON)
option(TOLVEX_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(TOLVEX_BUILD_TESTS "Build the unit and integration tests" ON)
option(TOLVEX_BUILD_BENCHMARKS "Build the benchmarks" ON)
option(TOLVEX_BUILD_FUZZERS "Build the libFuzzer targets (needs clang)" OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_compile_options(-Wall -Wextra -Wpedantic)
if(TOLVEX_WERROR)
    add_compile_options(-Werror)
endif()

if(TOLVEX_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(TOLVEX_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "TOLVEX_BUILD_FUZZERS needs clang (libFuzzer)")
    endif()
    # Coverage instrumentation for the library code the fuzz targets reach.
    # Every program linking that code needs the coverage callbacks: at link
    # time the flag brings a runtime that has them (a sanitizer's, or UBSan's
    # standalone one when no sanitizer is on).
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_link_options(-fsanitize=fuzzer-no-link)
endif()

# Q_SIGNALS/Q_SLOTS/Q_EMIT instead of the bare keywords, which clash with other headers.
add_compile_definitions(QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

# The agent and its object libraries: one function so each subsystem names only
# its own sources and dependencies.
function(tolvex_add_subsystem name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_library(${name} OBJECT ${ARG_SOURCES})
    # The agent lives in other people's processes: it shows them what
    # TOLVEX_EXPORT marks and nothing else.
    set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden
                                             C_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${name} PRIVATE TOLVEX_BUILDING_LIBRARY)
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}
                                              ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
    set_property(GLOBAL APPEND PROPERTY TOLVEX_SUBSYSTEMS ${name})
endfunction()
