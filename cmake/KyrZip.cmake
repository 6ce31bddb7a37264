# What the zip for Windows has beyond what is installed elsewhere: a person there has nothing but it. The lab's programs and
# scenarios to try the library with, the libraries that all of it needs, the terms of these, and a text that tells what is what.

# The suites' contract of the ports is tried by firstday.
set(lab devhost simproduct simproduct-system labrunner victim portcontract firstday)
foreach(program IN LISTS lab)
    if(TARGET ${program})
        install(TARGETS ${program} RUNTIME DESTINATION ${KYR_INSTALL_PROGRAMS})
        add_dependencies(kyr_installed ${program})
    endif()
endforeach()
install(DIRECTORY lab/scenarios DESTINATION . FILES_MATCHING PATTERN "*.scenario")
if(TARGET ovprobe)
    install(FILES probe/completion/ovprobe.bash DESTINATION .)
endif()

set(KYR_ZIP_TEXT "${CMAKE_BINARY_DIR}/packaging/README.txt")
configure_file(packaging/zip.txt "${KYR_ZIP_TEXT}" @ONLY NEWLINE_STYLE CRLF)
install(FILES "${KYR_ZIP_TEXT}" DESTINATION .)

if(MINGW)
    # Of the libraries beside our programs those that are shipped; suites link others. tests_zip says when this list is wrong.
    install(FILES
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libgcc_s_dw2-1.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libstdc++-6.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libwinpthread-1.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zlib1.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libboost_chrono.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libboost_filesystem.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libboost_locale.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libboost_thread.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libPocoFoundation.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libPocoUtil.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libprotobuf.dll"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libsqlite3-0.dll"
        DESTINATION .)
    # `--strip` passes by what was not built here.
    install(CODE "
        if(CMAKE_INSTALL_DO_STRIP)
            file(GLOB libraries \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/*.dll\")
            execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-all \${libraries} COMMAND_ERROR_IS_FATAL ANY)
        endif()")
    foreach(package boost1.81 poco protobuf sqlite3)
        install(FILES "${KYR_WINDOWS_PREFIX}/licences/${package}.txt" DESTINATION ${KYR_INSTALL_LICENCES})
    endforeach()
    # Debian's packages that the libraries of the compiler and zlib come from.
    foreach(pair libz-mingw-w64:zlib gcc-mingw-w64-base:gcc mingw-w64-common:mingw-w64)
        string(REPLACE ":" ";" pair ${pair})
        list(GET pair 0 package)
        list(GET pair 1 name)
        install(FILES /usr/share/doc/${package}/copyright DESTINATION ${KYR_INSTALL_LICENCES} RENAME ${name}.txt)
    endforeach()
endif()
