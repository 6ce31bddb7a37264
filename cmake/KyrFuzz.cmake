# kyr_add_fuzz_target(<Name> [THREADS] SOURCES <file>... [DEPENDS <target>...])
# A source defines LLVMFuzzerTestOneInput; the committed seeds are fuzz/corpus/<Name>/.
#   with KYR_BUILD_TESTS:   program replay_<Name> and test corpus_<Name>, which runs every seed and simple
#                           changes of it, so that every compiler and sanitizer sees the corpus; ThreadSanitizer only
#                           that of a target with THREADS, since it finds nothing where one thread decodes
#   with KYR_BUILD_FUZZERS: program fuzz_<Name>, driven by libFuzzer (clang only)

if(KYR_BUILD_FUZZERS AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "KYR_BUILD_FUZZERS needs clang++: libFuzzer is part of its runtime")
endif()

function(kyr_add_fuzz_target name)
    cmake_parse_arguments(ARG "THREADS" "" "SOURCES;DEPENDS" ${ARGN})
    if(KYR_SANITIZE MATCHES "thread" AND NOT ARG_THREADS)
        return()
    endif()
    set(input kyr_fuzz_input_${name})
    add_library(${input} OBJECT ${ARG_SOURCES})
    target_link_libraries(${input} PUBLIC ${ARG_DEPENDS})
    kyr_configure_target(${input})
    if(KYR_BUILD_TESTS)
        kyr_add_program(replay_${name} SOURCES "$<TARGET_OBJECTS:${input}>" DEPENDS kyr_fuzz_replay_main ${ARG_DEPENDS})
        add_test(NAME corpus_${name} COMMAND replay_${name} "${CMAKE_SOURCE_DIR}/fuzz/corpus/${name}")
        set_tests_properties(corpus_${name} PROPERTIES TIMEOUT 300)
    endif()
    if(KYR_BUILD_FUZZERS)
        kyr_add_program(fuzz_${name} SOURCES "$<TARGET_OBJECTS:${input}>" DEPENDS ${ARG_DEPENDS})
        target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    endif()
endfunction()
