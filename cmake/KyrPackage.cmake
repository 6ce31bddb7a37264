# What CPack needs to make a package of what is installed (KyrInstall.cmake): a Debian package (`make package`), and a zip for
# Windows (scripts/windows/package).

set(CPACK_PACKAGE_NAME ov-agent-connector)
set(CPACK_PACKAGE_VENDOR "Ov agent connector")
set(CPACK_PACKAGE_CONTACT "Ov agent connector maintainers <maintainers@ov-agent-connector.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "joins a management host to the Ov agent")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
    include(KyrZip)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME "OvAgentConnector-${PROJECT_VERSION}-win32")
    set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};${PROJECT_NAME};runtime;/")
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A plug-in library that a management host loads to carry tasks and policies to
the Ov agent of the same computer, and its status, outcomes and records back.
With it come what a maker of a host needs, a library that examines a host, and
ovprobe, which looks into a running endpoint.")
# Of the shared libraries: read from the files. Where ours are found while that is done, and who needs the rest.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS
    "g++, make, cmake, libboost1.81-dev, libboost-thread1.81-dev, libboost-chrono1.81-dev, libboost-date-time1.81-dev, libpoco-dev, libprotobuf-dev, protobuf-compiler")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What Debian's policy wants compressed.
foreach(file changelog ovprobe.1)
    execute_process(COMMAND gzip -9nc "${CMAKE_SOURCE_DIR}/packaging/${file}"
        OUTPUT_FILE "${CMAKE_BINARY_DIR}/packaging/${file}.gz" COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/packaging/${file}")
endforeach()
install(FILES "${CMAKE_BINARY_DIR}/packaging/changelog.gz" DESTINATION ${KYR_INSTALL_DOCUMENTS})
install(FILES "${CMAKE_BINARY_DIR}/packaging/ovprobe.1.gz" DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

include(CPack)
