# What is installed beside the targets, which their own folders install: how others find them, the
# boards' documents, the units, the pages. A tree can be moved after it was installed; only the
# units name their program by its whole path.

include(CMakePackageConfigHelpers)

set(boards ${CMAKE_INSTALL_DATADIR}/kavra/boards)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/KavraDriversVundaT)
set(docs ${CMAKE_INSTALL_DATADIR}/doc/kavra)

install(EXPORT KavraDriversVundaT
        FILE KavraDriversVundaTTargets.cmake
        NAMESPACE KavraDriversVundaT::
        DESTINATION ${package})
configure_package_config_file(cmake/KavraDriversVundaTConfig.cmake.in
    ${CMAKE_BINARY_DIR}/install/KavraDriversVundaTConfig.cmake
    INSTALL_DESTINATION ${package}
    PATH_VARS boards)
write_basic_package_version_file(
    ${CMAKE_BINARY_DIR}/install/KavraDriversVundaTConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/install/KavraDriversVundaTConfig.cmake
              ${CMAKE_BINARY_DIR}/install/KavraDriversVundaTConfigVersion.cmake
        DESTINATION ${package})

file(RELATIVE_PATH prefix_from_pc
    /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
foreach(name kavra-pl SmbusProto KavraDriversVundaT)
    if(name STREQUAL SmbusProto AND KAVRA_SYSTEM_SMBUSPROTO)
        continue()
    endif()
    configure_file(cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/install/${name}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/install/${name}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

file(READ packaging/kavra-smbusd.service unit)
string(REPLACE /usr/bin/kavra-smbusd ${CMAKE_INSTALL_FULL_BINDIR}/kavra-smbusd unit "${unit}")
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/install/kavra-smbusd.service CONTENT "${unit}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/kavra-smbusd.service)
install(FILES ${CMAKE_BINARY_DIR}/install/kavra-smbusd.service packaging/kavra-smbusd.socket
        DESTINATION lib/systemd/system)

install(DIRECTORY boards/VundaT DESTINATION ${boards})
install(DIRECTORY schemas/ DESTINATION ${CMAKE_INSTALL_DATADIR}/kavra/schemas
        FILES_MATCHING PATTERN *.json)
foreach(page kavra-conformance.1 kavractl.1 kavra-device-arguments.5 kavra-devices.5
             kavra-emulation.5 kavra-faults.5 kavra-i2c-map.5 kavra-recording.5 kavra-snapshot.5
             kavra-topology.5 kavra-pl.7 kavra-wire.7 kavra-smbusd.8)
    string(REGEX REPLACE ".*\\." man section ${page})
    install(FILES packaging/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/${section})
endforeach()
install(DIRECTORY packaging/completion/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(DIRECTORY docs DESTINATION ${docs})
install(FILES boards/VundaT/README.md DESTINATION ${docs}/boards/VundaT)
install(FILES boards/VundaT/variants/README.md DESTINATION ${docs}/boards/VundaT/variants)
install(FILES README.md ARCHITECTURE.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${docs})
install(FILES examples/minimal_host.c DESTINATION ${docs}/examples)
