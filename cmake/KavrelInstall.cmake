# SPDX-License-Identifier: MIT
# Components: plugin, runtime (the stand-ins), tools, development.

function(install_man component page)
    cmake_path(GET page EXTENSION LAST_ONLY section)
    string(SUBSTRING ${section} 1 -1 section)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT ${component})
endfunction()
