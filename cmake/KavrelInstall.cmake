# SPDX-License-Identifier: MIT
# Components: plugin, runtime (the stand-ins), tools, development.

# Makes a man page from its readable source in docs/man, if scdoc is installed.
find_program(SCDOC scdoc)
function(install_man component page)
    if(SCDOC)
        string(REGEX REPLACE ".*\\." "" section ${page})
        configure_file(${PROJECT_SOURCE_DIR}/docs/man/${page}.scd ${page}.scd @ONLY)
        execute_process(COMMAND ${SCDOC} INPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${page}.scd
                        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${page} RESULT_VARIABLE error)
        if(error)
            message(FATAL_ERROR "${SCDOC} cannot convert docs/man/${page}.scd: ${error}")
        endif()
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
                COMPONENT ${component})
    endif()
endfunction()
