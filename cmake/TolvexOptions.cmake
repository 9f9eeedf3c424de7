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

# Takes the sanitizers and the fuzzing instrumentation off one target, for
# the plain C libraries that go into programs which have no sanitizer
# runtime (the start-up shim in every process of a test run). Without moc
# either, whose output would make it a C++ library.
function(tolvex_without_sanitizers target)
    set_target_properties(${target} PROPERTIES AUTOMOC OFF)
    foreach(_property COMPILE_OPTIONS LINK_OPTIONS)
        get_target_property(_options ${target} ${_property})
        if(_options)
            list(FILTER _options EXCLUDE REGEX "^-f(no-)?sanitize")
            set_target_properties(${target} PROPERTIES ${_property} "${_options}")
        endif()
    endforeach()
endfunction()

# The sanitizers' shared runtimes that a program must preload, ahead of
# everything else, to load this build's instrumented libraries:
#   TOLVEX_SANITIZER_PRELOAD_FOREIGN  a program built elsewhere, without them
#                                     (a third-party application hosting the agent)
#   TOLVEX_SANITIZER_PRELOAD_OWN      a program of this build, whenever anything
#                                     else is preloaded: clang links the runtime
#                                     into each executable, gcc links the shared
#                                     one, which then has to come first
# Colon-separated; empty in a build without sanitizers.
set(TOLVEX_SANITIZER_PRELOAD_FOREIGN "")
set(TOLVEX_SANITIZER_PRELOAD_OWN "")
if(TOLVEX_SANITIZE)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        set(_runtimes libclang_rt.asan-${CMAKE_SYSTEM_PROCESSOR}.so)
    else()
        set(_runtimes libasan.so libubsan.so)
    endif()
    set(_paths)
    foreach(_runtime ${_runtimes})
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${_runtime}
                        OUTPUT_VARIABLE _path OUTPUT_STRIP_TRAILING_WHITESPACE)
        get_filename_component(_path "${_path}" REALPATH)
        if(NOT EXISTS "${_path}")
            message(FATAL_ERROR "The sanitizer runtime ${_runtime} is not installed")
        endif()
        list(APPEND _paths "${_path}")
    endforeach()
    string(REPLACE ";" ":" TOLVEX_SANITIZER_PRELOAD_FOREIGN "${_paths}")
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        set(TOLVEX_SANITIZER_PRELOAD_OWN "${TOLVEX_SANITIZER_PRELOAD_FOREIGN}")
    endif()
endif()
