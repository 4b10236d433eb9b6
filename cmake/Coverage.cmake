# Counts the lines and branches that run in what is shipped and in nothing else: tests, the host's
# tool and generated code are built as in any debug build, which costs less time.

set(counted_targets SmbusProto KavraDriversVundaT EmulatedBoard SmbusServer kavra-smbusd)
set(on_abort ${CMAKE_SOURCE_DIR}/cmake/CountersOnAbort.c)

foreach(target ${counted_targets})
    # Busses have threads of their own: two may count in one place.
    target_compile_options(${target} PRIVATE
        -fprofile-arcs -ftest-coverage -fprofile-update=atomic)
    target_sources(${target} PRIVATE ${on_abort})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL STATIC_LIBRARY)
        target_link_options(${target} INTERFACE --coverage LINKER:-u,countersOnAbort)
    else()
        # Each binary writes the counters of its own: the functions for it must not be another's.
        target_link_options(${target} PRIVATE --coverage LINKER:--exclude-libs,libgcov.a)
    endif()
    get_target_property(folder ${target} SOURCE_DIR)
    set_source_files_properties(${on_abort} DIRECTORY ${folder} PROPERTIES
        COMPILE_OPTIONS "-fno-profile-arcs;-fno-test-coverage;-Wno-pedantic")
endforeach()

foreach(target SmbusProto SmbusServer)
    get_target_property(folder ${target} SOURCE_DIR)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.pb\\.cc$")
    set_source_files_properties(${sources} DIRECTORY ${folder} PROPERTIES
        COMPILE_OPTIONS "-w;-fno-profile-arcs;-fno-test-coverage")
endforeach()
