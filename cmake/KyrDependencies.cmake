# Everything that comes from outside, in one place. All of it is packaged by Debian; see docs/building.md.

find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED CONFIG COMPONENTS thread chrono date_time locale filesystem)
set(poco Foundation)
if(WIN32)
    list(APPEND poco Util)  # reads the registry
endif()
if(MINGW)
    list(APPEND CMAKE_MODULE_PATH "${CMAKE_SOURCE_DIR}/cmake/mingw")  # stands in for packages that our POCO lacks
endif()
find_package(Poco 1.11 REQUIRED COMPONENTS ${poco})
find_package(Protobuf REQUIRED)
find_package(ZLIB REQUIRED)

# kyr_find_headers(<target> <folder> <header>)
# A library of headers only, the same for every system. A link to nothing else keeps a cross-compiler from this system's
# other ones.
function(kyr_find_headers target folder header)
    find_path(${target}_FOLDER ${folder}/${header} REQUIRED PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers/${target})
    file(CREATE_LINK ${${target}_FOLDER}/${folder} ${CMAKE_BINARY_DIR}/headers/${target}/${folder}
        COPY_ON_ERROR SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers/${target})
endfunction()

kyr_find_headers(kyr_json nlohmann json.hpp)
if(KYR_BUILD_LAB)
    find_package(SQLite3 REQUIRED)
    kyr_find_headers(kyr_cli11 CLI CLI.hpp)
endif()
if(KYR_BUILD_TESTS OR KYR_BUILD_FUZZERS OR KYR_BUILD_BENCH)
    find_package(GTest REQUIRED)
endif()
if(KYR_BUILD_TESTS)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
if(KYR_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
if(WIN32)
    include(KyrWindows)
endif()
