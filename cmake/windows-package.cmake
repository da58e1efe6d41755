# The Windows agent's version resource and its installer, setup.exe (CPack's NSIS
# generator; Debian's nsis builds it on Linux): Launch.exe alone, nothing of the
# stand-in, under Program Files. The installer also does, elevated, what the agent
# cannot do for itself on a desktop without administrator rights: the Run value and
# the firewall rule for its listener.
#   cmake --build DIR --target package     ->  DIR/setup.exe
if(NOT TARGET launch)
  return()
endif()
enable_language(RC)

set(LA_PRODUCT_NAME "Launch Service for Varno")
set(LA_AGENT_DESCRIPTION "Launch agent: keeps Varno running and tells the LAN about this desktop")
configure_file(${CMAKE_SOURCE_DIR}/apps/launch/version.rc.in
               ${CMAKE_BINARY_DIR}/apps/launch/version.rc @ONLY)
target_sources(launch PRIVATE ${CMAKE_BINARY_DIR}/apps/launch/version.rc)

install(TARGETS launch RUNTIME DESTINATION . COMPONENT agent)

set(CPACK_GENERATOR NSIS)
# Debug information stays in the build folder; the desktop gets a stripped agent.
set(CPACK_STRIP_FILES TRUE)
set(CPACK_PACKAGE_NAME "Launch")
set(CPACK_PACKAGE_VENDOR "${LA_PRODUCT_NAME}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${LA_AGENT_DESCRIPTION}")
set(CPACK_PACKAGE_FILE_NAME "setup")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "Launch")
set(CPACK_PACKAGE_INSTALL_REGISTRY_KEY "Launch")
set(CPACK_NSIS_PACKAGE_NAME "${LA_PRODUCT_NAME}")
set(CPACK_NSIS_DISPLAY_NAME "${LA_PRODUCT_NAME}")
set(CPACK_NSIS_INSTALLED_ICON_NAME "Launch.exe")
# A 64-bit installer for a 64-bit agent: Program Files and the registry's own view, no
# 32-bit redirection (and no 32-bit Wine needed to test it).
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
set(LA_NSIS_DIR ${CMAKE_SOURCE_DIR}/cmake/nsis)
string(REPLACE "." ";" LA_VERSION_PARTS "${PROJECT_VERSION}.0.0.0")
list(SUBLIST LA_VERSION_PARTS 0 4 LA_VERSION_PARTS)
list(JOIN LA_VERSION_PARTS "." LA_VERSION4)
# CPack writes these into its own configuration file, so quotes need one escape more.
set(CPACK_NSIS_DEFINES "
  Target amd64-unicode
  !define LA_VERSION4 \\\"${LA_VERSION4}\\\"
  !define LA_VERSION \\\"${PROJECT_VERSION}\\\"
  !define LA_PRODUCT_NAME \\\"${LA_PRODUCT_NAME}\\\"
  !include \\\"${LA_NSIS_DIR}/version.nsh\\\"")
set(CPACK_NSIS_EXTRA_PREINSTALL_COMMANDS "!include \\\"${LA_NSIS_DIR}/stop-agent.nsh\\\"")
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS "!include \\\"${LA_NSIS_DIR}/install.nsh\\\"")
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "!include \\\"${LA_NSIS_DIR}/uninstall.nsh\\\"")
include(CPack)
