# What MinGW-w64 needs beyond KyrWindows.cmake: hardening, and the shared libraries of others beside our programs.

# Address space layout randomisation (which needs the relocations kept) and data execution prevention.
add_link_options(LINKER:--dynamicbase LINKER:--nxcompat LINKER:--enable-reloc-section)

# POCO spells the names of system headers as Windows does; the cross compiler's are lower-case.
if(CMAKE_CROSSCOMPILING)
    foreach(name Winsock2 Iphlpapi)
        string(TOLOWER ${name} lower)
        file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/generated/system/${name}.h" CONTENT "#include <${lower}.h>\n")
    endforeach()
    include_directories(SYSTEM "${CMAKE_BINARY_DIR}/generated/system")
endif()

# kyr_copy_beside_programs(<file>...)
# Windows looks for a program's libraries in the program's own folder first.
function(kyr_copy_beside_programs)
    file(MAKE_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    foreach(file IN LISTS ARGN)
        get_filename_component(name "${file}" NAME)
        file(COPY_FILE "${file}" "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}" ONLY_IF_DIFFERENT)
    endforeach()
endfunction()

# What stands beside the compiler: its own libraries, always shared, since an exception that leaves the connector's
# library is caught by the host only when both use the same copy of them; and zlib, which we and Boost link.
set(libraries)
foreach(name libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll zlib1.dll)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${name}
        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND libraries "${path}")
endforeach()
foreach(name atomic chrono date_time filesystem iostreams locale system thread)
    list(APPEND libraries "${KYR_WINDOWS_PREFIX}/lib/libboost_${name}.dll")
endforeach()
foreach(name PocoFoundation PocoUtil protobuf sqlite3-0)
    list(APPEND libraries "${KYR_WINDOWS_PREFIX}/bin/lib${name}.dll")
endforeach()
kyr_copy_beside_programs(${libraries})
