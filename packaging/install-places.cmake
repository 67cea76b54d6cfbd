# SPDX-License-Identifier: LGPL-2.1-or-later
# Runs before anything is installed, when the prefix is certain: says where the plugins go and what the installation
# lacks, and ends it where it could not become whole. Has QT_PLUGIN_INSTALL_DIR, QT_PLUGINS (where Qt looks) and
# MESSAGE_SERVER_PROGRAM.
#
# Sets ORVMAIL_PLUGIN_DIR, relative to the prefix, and ORVMAIL_OWN_PREFIX: the session bus, systemd and Qt do not look
# below the prefix unless they are told to.
cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX "${QT_PLUGINS}" NORMALIZE qt_is_there)
if(qt_is_there OR CMAKE_INSTALL_PREFIX STREQUAL "/usr/local" OR NOT QT_PLUGIN_INSTALL_DIR STREQUAL QT_PLUGINS)
    set(ORVMAIL_OWN_PREFIX FALSE)
    file(RELATIVE_PATH ORVMAIL_PLUGIN_DIR "${CMAKE_INSTALL_PREFIX}" "${QT_PLUGIN_INSTALL_DIR}")
else()
    set(ORVMAIL_OWN_PREFIX TRUE)
    set(ORVMAIL_PLUGIN_DIR lib/qt5/plugins)
endif()
# What is packed for elsewhere is not for this machine.
if(NOT "$ENV{DESTDIR}" STREQUAL "")
    return()
endif()

foreach(folder "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_PREFIX}/${ORVMAIL_PLUGIN_DIR}")
    cmake_path(NORMAL_PATH folder)
    set(above "${folder}")
    while(NOT EXISTS "${above}")
        cmake_path(GET above PARENT_PATH above)
    endwhile()
    execute_process(COMMAND test -d "${above}" -a -w "${above}" RESULT_VARIABLE unwritable)
    if(unwritable)
        message(FATAL_ERROR "${folder} cannot be written to, and nothing has been installed. "
                            "Install as root, or below a prefix of your own: cmake --install ... --prefix ~/orvmail")
    endif()
endforeach()

if(NOT EXISTS "${MESSAGE_SERVER_PROGRAM}")
    message(NOTICE "-- Lacking: QMF's message server (messageserver5), without which there is no mail.")
endif()
if(ORVMAIL_OWN_PREFIX)
    message(NOTICE
"-- Neither the session bus nor Qt looks below ${CMAKE_INSTALL_PREFIX} by itself. What your session begins with
   (~/.profile, for instance) must have these lines; log in anew then:
     export XDG_DATA_DIRS=\"${CMAKE_INSTALL_PREFIX}/share:\${XDG_DATA_DIRS:-/usr/local/share:/usr/share}\"
     export QT_PLUGIN_PATH=\"${CMAKE_INSTALL_PREFIX}/${ORVMAIL_PLUGIN_DIR}\"
   With systemd, push from login on takes:
     systemctl --user enable ${CMAKE_INSTALL_PREFIX}/lib/systemd/user/asdaemon.service
   So that no cleaning of /tmp removes the locks of the mail store, an administrator copies
     ${CMAKE_INSTALL_PREFIX}/lib/tmpfiles.d/asdaemon.conf to /etc/tmpfiles.d")
endif()
