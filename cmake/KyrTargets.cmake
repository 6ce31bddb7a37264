# The three kinds of target that this tree has, with the warnings and the include root that all of them share.

include(CheckCXXCompilerFlag)

function(kyr_configure_target name)
    target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>")
    if(MSVC)
        target_compile_options(${name} PRIVATE /W4 /permissive- /utf-8 /Zc:__cplusplus /EHsc)
    else()
        target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wshadow=local
            -Wnon-virtual-dtor -fno-strict-aliasing)
    endif()
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(${name} PRIVATE -Wno-unknown-warning-option -Wno-error=unknown-warning-option
            -Werror=thread-safety)
    endif()
    if(KYR_SANITIZE)
        target_compile_options(${name} PRIVATE -fsanitize=${KYR_SANITIZE} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${name} PRIVATE -fsanitize=${KYR_SANITIZE})
    endif()
    get_target_property(type ${name} TYPE)
    if(KYR_BUILD_FUZZERS AND NOT type STREQUAL "EXECUTABLE")
        # Coverage counters for libFuzzer, without its main program. Suites are not what it explores.
        target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()

# kyr_unite(<target>)
# With KYR_UNITE, up to eight sources of a suite or a stand-in are compiled as one: most of a source's time goes into headers,
# which are read once then. The library's own sources stay as they are shipped, alone: names in anonymous name spaces must
# differ within a target that is united, and one that hides another is not always an error. Sources of Windows stay alone,
# since <windows.h> renames what others call.
function(kyr_unite name)
    if(KYR_UNITE AND CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/((lab|tests|bench)/|probe$)")
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
        get_target_property(sources ${name} SOURCES)
        list(FILTER sources INCLUDE REGEX "Windows[A-Za-z]*\\.cpp$")
        set_source_files_properties(${sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    endif()
endfunction()

# kyr_precompile(<target> <header>)
# With KYR_PRECOMPILE, compiles the header once for all of the target's sources, if they are enough to pay for it: for trees
# whose sources are compiled one by one, again and again.
function(kyr_precompile name header)
    get_target_property(sources ${name} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    list(LENGTH sources files)
    get_target_property(united ${name} UNITY_BUILD)
    if(KYR_PRECOMPILE AND files GREATER 3 AND NOT united)
        target_precompile_headers(${name} PRIVATE "${CMAKE_SOURCE_DIR}/${header}")
        if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            # What is cached would be of no use to a tree whose header has another time.
            target_compile_options(${name} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
        endif()
    endif()
endfunction()

# kyr_leave_unoptimised(<target>)
# The only variant for Windows is optimised. What is tested stays so; the tests themselves, and what helps them, compile in two
# thirds of the time without.
function(kyr_leave_unoptimised name)
    if(MINGW)
        target_compile_options(${name} PRIVATE -O0)
    endif()
endfunction()

# kyr_add_library(<name> [SHARED] SOURCES <file>... [DEPENDS <target>...])
# Headers are listed with the sources, so that the list is the folder's table of contents.
function(kyr_add_library name)
    cmake_parse_arguments(ARG "SHARED" "" "SOURCES;DEPENDS" ${ARGN})
    if(ARG_SHARED)
        add_library(${name} SHARED ${ARG_SOURCES})
    else()
        add_library(${name} STATIC ${ARG_SOURCES})
    endif()
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
    kyr_configure_target(${name})
    kyr_unite(${name})
    kyr_precompile(${name} base/Precompiled.h)
    if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/tests/")
        kyr_leave_unoptimised(${name})
    endif()
endfunction()

# kyr_add_header_library(<name> HEADERS <file>... [DEPENDS <target>...])
function(kyr_add_header_library name)
    cmake_parse_arguments(ARG "" "" "HEADERS;DEPENDS" ${ARGN})
    add_library(${name} INTERFACE ${ARG_HEADERS})
    target_include_directories(${name} INTERFACE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
endfunction()

# kyr_add_program(<name> SOURCES <file>... [DEPENDS <target>...])
function(kyr_add_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS})
    kyr_configure_target(${name})
endfunction()

# The layer makes a suite's own directory in here, with the rights that it wants.
set(KYR_RUN_DIRECTORIES "${CMAKE_BINARY_DIR}/run")
file(MAKE_DIRECTORY "${KYR_RUN_DIRECTORIES}")

# kyr_add_test_suite(<name> SOURCES <file>... [DEPENDS <target>...])
# One program a folder under test, run as one test by CTest, in a name space of ports of its own: what serves or is left
# on this computer changes nothing. Where a product's registration is a file (Linux), it belongs to that name space.
function(kyr_add_test_suite name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    kyr_add_program(${name} SOURCES ${ARG_SOURCES} DEPENDS ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
    kyr_unite(${name})
    kyr_precompile(${name} tests/support/Precompiled.h)
    kyr_leave_unoptimised(${name})
    # Every test is named as it begins, so that of a suite that hangs one sees where.
    add_test(NAME ${name} COMMAND ${name})
    # For what hangs: a machine with other work beside it takes ten times as long, sanitizers several times more.
    set(timeout 360)
    if(KYR_SANITIZE)
        set(timeout 720)
    endif()
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${timeout}
        ENVIRONMENT "KELCOMM_RUNTIME_DIR=${KYR_RUN_DIRECTORIES}/${name}")
endfunction()
