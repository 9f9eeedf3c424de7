# Checks the start-up shim as every process of a test run gets it: it needs
# libc and libdl and nothing else (no Qt, no C++ runtime, no sanitizer
# runtime), and adds no symbols to the process.
#   cmake -DLIBRARY=<path to libtolvexpreload.so> -DNM=<nm> -DREADELF=<readelf> -P shim.cmake
execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic RESULT_VARIABLE status)
execute_process(COMMAND ${NM} -D --undefined-only ${LIBRARY} OUTPUT_VARIABLE undefined
                RESULT_VARIABLE nmUndefined)
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE defined
                RESULT_VARIABLE nmDefined)
if(NOT status EQUAL 0 OR NOT nmUndefined EQUAL 0 OR NOT nmDefined EQUAL 0)
    message(FATAL_ERROR "${READELF} or ${NM} failed on ${LIBRARY}")
endif()

set(failures "")
string(REGEX MATCHALL "Shared library: \\[[^]]*\\]" needed "${dynamic}")
foreach(entry ${needed})
    if(NOT entry MATCHES "\\[(libc|libdl)\\.so\\.[0-9]+\\]")
        string(APPEND failures "needs ${entry}\n")
    endif()
endforeach()
foreach(foreign "__asan" "__ubsan" "__sanitizer" "__lsan" "_Z" "Qt")
    string(FIND "${undefined}" "${foreign}" at)
    if(NOT at EQUAL -1)
        string(APPEND failures "uses ${foreign}...\n")
    endif()
endforeach()
string(REGEX MATCHALL "[^\n]+ [TDBRVW] [^\n]+" exported "${defined}")
if(exported)
    string(APPEND failures "exports ${exported}\n")
endif()

if(failures)
    message(FATAL_ERROR "The shim is not the plain C library it must be:\n${failures}")
endif()
