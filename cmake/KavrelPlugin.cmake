# SPDX-License-Identifier: MIT
# The plug-in.
add_library(kavrel MODULE
    plugin/plugin.cpp
    plugin/logging.cpp
    plugin/callbacks.cpp
    bridge/notificationsimpl.cpp
    bridge/registry.cpp
    translation/addnotification.cpp
    translation/actions.cpp
    translation/iconcache.cpp
    translation/icons.cpp
    translation/unchanged.cpp
    translation/transientmessage.cpp
    feedback/actioninvoked.cpp
    feedback/closing.cpp
    feedback/clearing.cpp
    alert/alertcommand.cpp
    alert/alertqueue.cpp
    packages/results.cpp
    packages/dexopt.cpp
)
set_target_properties(kavrel PROPERTIES PREFIX "")
target_include_directories(kavrel PRIVATE ${PROJECT_SOURCE_DIR})
# QtConcurrent::run is a template on Qt Core's thread pool: its headers are enough.
target_include_directories(kavrel SYSTEM PRIVATE
    $<TARGET_PROPERTY:Qt5::Concurrent,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(kavrel PRIVATE lumd::lumd lumd::config-parser vorn::notifications Qt5::Core Qt5::DBus)

# The descriptor is all that the host looks for; nothing else may clash with the host's own symbols.
set(exports ${PROJECT_SOURCE_DIR}/plugin/kavrel.map)
target_link_options(kavrel PRIVATE LINKER:--version-script=${exports})
set_target_properties(kavrel PROPERTIES LINK_DEPENDS ${exports})

# Unloading returns at once even while a worker thread still runs an alert command, so the code that this
# thread executes has to stay mapped after the host closes the library.
target_link_options(kavrel PRIVATE LINKER:-z,nodelete)

if(NOT KAVREL_SYSTEM_PLATFORM) # else the device's loader knows where its libraries are
    set_target_properties(kavrel PROPERTIES INSTALL_RPATH $ORIGIN/../..)
endif()
install(TARGETS kavrel LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/lumd/plugins COMPONENT plugin)
install_man(plugin kavrel.7)
install(FILES docs/integration.md TYPE DOC COMPONENT plugin)
