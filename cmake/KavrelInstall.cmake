# SPDX-License-Identifier: MIT
# Components: plugin, runtime (the stand-ins), tools, development.

# Makes a man page of its readable source in docs/man, if scdoc is there.
find_program(SCDOC scdoc)
function(install_man component page)
    if(SCDOC)
        cmake_path(GET page EXTENSION LAST_ONLY section)
        string(SUBSTRING ${section} 1 -1 section)
        configure_file(${PROJECT_SOURCE_DIR}/docs/man/${page}.scd ${page}.scd @ONLY)
        execute_process(COMMAND ${SCDOC} INPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${page}.scd
                        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${page} COMMAND_ERROR_IS_FATAL ANY)
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
                COMPONENT ${component})
    endif()
endfunction()
