# What `cmake --install` puts where. docs/installing.md tells it to whoever installs.
#
# All paths are below one prefix and none is written into a file, so that what is installed can be moved as a whole. The
# libraries of this tree stand in a folder of their own: a host loads them by their path, and no other program shall find them
# by chance.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# What a host is built with, and nobody needs to run one: the zip for Windows leaves it out.
set(KYR_DEVELOPMENT COMPONENT development)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)

if(WIN32)
    # One flat folder: Windows looks for a program's libraries beside it.
    set(KYR_INSTALL_PROGRAMS .)
    set(KYR_INSTALL_MODULES .)
    set(KYR_INSTALL_LIBRARIES lib)
    set(KYR_INSTALL_HEADERS include)
    set(KYR_INSTALL_CMAKE cmake)
    set(KYR_INSTALL_DOCUMENTS documents)
    set(KYR_INSTALL_LICENCES licences)
else()
    set(KYR_INSTALL_PROGRAMS ${CMAKE_INSTALL_BINDIR})
    set(KYR_INSTALL_MODULES ${CMAKE_INSTALL_LIBDIR}/ov-agent-connector)
    set(KYR_INSTALL_LIBRARIES ${KYR_INSTALL_MODULES})
    set(KYR_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/ov-agent-connector)
    set(KYR_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/OvAgentConnector)
    set(KYR_INSTALL_PKGCONFIG ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    set(KYR_INSTALL_DOCUMENTS ${CMAKE_INSTALL_DATADIR}/doc/ov-agent-connector)
    set(KYR_INSTALL_LICENCES ${KYR_INSTALL_DOCUMENTS}/of-others)
endif()

# What is installed is built by one target, so that nobody has to wait for suites and benchmarks.
set(modules OvAgentConnector HostProbe)
set(programs)
if(TARGET ovprobe)
    list(APPEND programs ovprobe)
endif()
add_custom_target(kyr_installed DEPENDS kyr_host kyr_logs ${modules} ${programs})

# Programs and modules find the host's library, wherever the prefix is.
if(NOT WIN32)
    file(RELATIVE_PATH fromPrograms /${KYR_INSTALL_PROGRAMS} /${KYR_INSTALL_MODULES})
    set_target_properties(${modules} PROPERTIES INSTALL_RPATH "$ORIGIN")
    if(programs)
        set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${fromPrograms}")
    endif()
endif()

# Checks that protobuf writes into its headers name the file that they stand in.
if(NOT MSVC)
    foreach(target kyr_host kyr_kelcomm_messages)
        target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${CMAKE_BINARY_DIR}/generated/=")
    endforeach()
endif()

# Libraries and programs
set_target_properties(kyr_base PROPERTIES EXPORT_NAME Base)
set_target_properties(kyr_host PROPERTIES EXPORT_NAME Host)
set_target_properties(kyr_logs PROPERTIES EXPORT_NAME Logs)
install(TARGETS kyr_base kyr_host kyr_logs
    EXPORT OvAgentConnectorTargets
    RUNTIME DESTINATION ${KYR_INSTALL_MODULES}
    LIBRARY DESTINATION ${KYR_INSTALL_MODULES}
    ARCHIVE DESTINATION ${KYR_INSTALL_LIBRARIES} ${KYR_DEVELOPMENT}
    INCLUDES DESTINATION ${KYR_INSTALL_HEADERS})
# Loaded, never linked: no import library.
install(TARGETS ${modules}
    RUNTIME DESTINATION ${KYR_INSTALL_MODULES}
    LIBRARY DESTINATION ${KYR_INSTALL_MODULES})
if(programs)
    install(TARGETS ${programs} RUNTIME DESTINATION ${KYR_INSTALL_PROGRAMS})
endif()
# `--strip` passes static libraries by. What describes them to a debugger also names the folders that they were built in.
install(CODE "
    if(CMAKE_INSTALL_DO_STRIP)
        file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${KYR_INSTALL_LIBRARIES}/libkyr_*.a\")
        execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug \${archives} COMMAND_ERROR_IS_FATAL ANY)
    endif()" ${KYR_DEVELOPMENT})

# Headers of what crosses the border between host and module: the host's own, and the logs with the clock that they take.
install(DIRECTORY host DESTINATION ${KYR_INSTALL_HEADERS} ${KYR_DEVELOPMENT} FILES_MATCHING PATTERN "*.h" PATTERN "*.proto")
foreach(name DataMinerMessages EventLog MultiProductStatusLog MultiSymbolContainer OvAgentRequest StatusLog SymbolContainer
        SymbolValue)
    install(FILES logs/${name}.h DESTINATION ${KYR_INSTALL_HEADERS}/logs ${KYR_DEVELOPMENT})
endforeach()
install(FILES base/Clock.h DESTINATION ${KYR_INSTALL_HEADERS}/base ${KYR_DEVELOPMENT})
install(DIRECTORY "${CMAKE_BINARY_DIR}/generated/host" DESTINATION ${KYR_INSTALL_HEADERS} ${KYR_DEVELOPMENT} FILES_MATCHING PATTERN "*.pb.h")

# Package files
install(EXPORT OvAgentConnectorTargets NAMESPACE OvAgentConnector:: DESTINATION ${KYR_INSTALL_CMAKE} ${KYR_DEVELOPMENT})
configure_package_config_file(packaging/OvAgentConnectorConfig.cmake.in
    "${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfig.cmake.in"
    INSTALL_DESTINATION ${KYR_INSTALL_CMAKE}
    PATH_VARS KYR_INSTALL_MODULES)
file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfig.cmake"
    INPUT "${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfig.cmake.in")
# Before 1.0 every minor version may change what crosses the border.
write_basic_package_version_file("${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
        "${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfig.cmake"
        "${CMAKE_BINARY_DIR}/packaging/OvAgentConnectorConfigVersion.cmake"
    DESTINATION ${KYR_INSTALL_CMAKE} ${KYR_DEVELOPMENT})
if(KYR_INSTALL_PKGCONFIG)
    file(RELATIVE_PATH KYR_PREFIX_FROM_PKGCONFIG /${KYR_INSTALL_PKGCONFIG} /)
    configure_file(packaging/ov-agent-connector.pc.in "${CMAKE_BINARY_DIR}/packaging/ov-agent-connector.pc.in" @ONLY)
    file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/packaging/ov-agent-connector.pc"
        INPUT "${CMAKE_BINARY_DIR}/packaging/ov-agent-connector.pc.in")
    install(FILES "${CMAKE_BINARY_DIR}/packaging/ov-agent-connector.pc" DESTINATION ${KYR_INSTALL_PKGCONFIG} ${KYR_DEVELOPMENT})
endif()

# Documents for who installs and for makers of hosts. They keep the folders that they have in the tree, so that links between
# them hold in both places; what they link to is installed with them.
foreach(document docs/errors.md docs/host-library.md docs/installing.md docs/questions-of-support.md docs/recording.md
        docs/threading.md docs/wire-format.md docs/writing-a-host.md hostprobe/README.md probe/README.md)
    get_filename_component(folder ${document} DIRECTORY)
    install(FILES ${document} DESTINATION ${KYR_INSTALL_DOCUMENTS}/${folder})
endforeach()
if(TARGET ovprobe AND NOT WIN32)
    install(FILES probe/completion/ovprobe.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME ovprobe)
endif()
install(DIRECTORY examples DESTINATION ${KYR_INSTALL_DOCUMENTS})

# Terms: ours, and those of others whose headers are compiled into the programs, or whose scripts are in the page that they
# write, and who ask to be passed on with them. All of d3 has the terms of its zoom, but for its easings.
if(NOT WIN32)
    install(FILES packaging/copyright DESTINATION ${KYR_INSTALL_DOCUMENTS})
endif()
foreach(package libcli11-dev nlohmann-json3-dev libjs-chart.js node-d3-zoom node-d3-ease)
    if(EXISTS /usr/share/doc/${package}/copyright)
        install(FILES /usr/share/doc/${package}/copyright
            DESTINATION ${KYR_INSTALL_LICENCES} RENAME ${package}.txt)
    endif()
endforeach()
install(FILES packaging/kurkle-color.txt DESTINATION ${KYR_INSTALL_LICENCES})
