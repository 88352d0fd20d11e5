# The Debian packages, by CPack: scripts/build-packages makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME applicationmanager)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "ApplicationManager maintainers <maintainers@velmora.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Qt's libraries, as the linker found them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

# package(COMPONENT NAME SECTION DEPENDS SUMMARY TEXT)
macro(package component name section depends summary text)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${text}")
    install(FILES debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    packed(debian/changelog changelog ${CMAKE_INSTALL_DATADIR}/doc/${name} ${component})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/${name}.overrides)
        install(FILES debian/${name}.overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name}
            COMPONENT ${component})
    endif()
endmacro()

package(daemon applicationmanager admin "adduser, dbus, dbus-bin" "supervisor of a terminal's modules"
    "Starts the modules of a terminal in the order of their steps and\ndependencies, waits for each, supervises them, watches their memory,\nand answers on the system bus.")
set(CPACK_DEBIAN_DAEMON_PACKAGE_SUGGESTS jovctl)
set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/conffiles ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/prerm ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)

package(jovctl jovctl admin "" "operator's command for a terminal's supervisor"
    "Shows the modules of a terminal with their states and dependencies, starts\nand stops them, and checks configuration files before they are installed.")
set(CPACK_DEBIAN_JOVCTL_PACKAGE_SUGGESTS applicationmanager)

package(run jov-run admin "" "makes any program a module of a terminal"
    "Announces a program that knows nothing of the bus to the terminal's\nsupervisor when it is ready, and passes the request to stop on as a signal.\nFor shell scripts, sends events and waits for them.")
set(CPACK_DEBIAN_RUN_PACKAGE_SUGGESTS "applicationmanager, libjov-dev")

package(cockpit jovara-cockpit admin "cockpit-bridge (>= 276), cockpit-system, jovctl" "terminal's modules in a browser"
    "A page for Cockpit: the state of a terminal and its modules as it changes,\nthe start-up, the memory, what modules print, and why it was rebooted. Who may\ncontrol modules on the bus may control them there.")
set(CPACK_DEBIAN_COCKPIT_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_COCKPIT_PACKAGE_RECOMMENDS cockpit-ws)
set(CPACK_DEBIAN_COCKPIT_PACKAGE_SHLIBDEPS OFF)

package(metrics jovara-metrics admin jovctl "metrics of a terminal for a monitoring system"
    "Writes the metrics of the supervisor and its modules every minute into the\ndirectory of a node exporter's textfile collector.")
set(CPACK_DEBIAN_METRICS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_METRICS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_METRICS_PACKAGE_RECOMMENDS prometheus-node-exporter)
set(CPACK_DEBIAN_METRICS_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/metrics/debian/conffiles ${CMAKE_CURRENT_SOURCE_DIR}/metrics/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/metrics/debian/prerm ${CMAKE_CURRENT_SOURCE_DIR}/metrics/debian/postrm)

package(dev libjov-dev libdevel "libdbus-1-dev, qtbase5-dev" "libraries for writing modules of a terminal"
    "Headers, static libraries and CMake package of the component platform:\nbus names, events, remote calls, settings and logging.")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)

package(simulator applicationmanager-simulator devel "applicationmanager, dbus-daemon, jovctl" "whole terminal on a developer's PC"
    "Boots a terminal with sample modules under the real supervisor, on a private\nbus and under a root of its own; nothing of the PC itself is touched.")

include(CPack)
