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

file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
# Installs a program that finds the libraries below any prefix.
function(install_tool program)
    set_target_properties(${program} PROPERTIES INSTALL_RPATH $ORIGIN/${bin_to_lib})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endfunction()
