# Components: plugin, runtime (the stand-ins), tools, development.

# Installed programs find the stand-ins below any prefix; a device's own libraries need no help.
if(NOT KAVREL_SYSTEM_PLATFORM)
    file(RELATIVE_PATH from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CMAKE_INSTALL_RPATH "$ORIGIN/${from_bin}" "$ORIGIN/../..")
endif()

function(install_man component page)
    cmake_path(GET page EXTENSION LAST_ONLY section)
    string(SUBSTRING ${section} 1 -1 section)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT ${component})
endfunction()
