# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The adapters of a Linux desktop.
target_sources(vornaserver PRIVATE
  platform/linux/ApplicationRuntime.cpp
  platform/linux/AvahiWatch.cpp
  platform/linux/Beneath.cpp
  platform/linux/DBusActivation.cpp
  platform/linux/DefaultApplication.cpp
  platform/linux/DesktopApplication.cpp
  platform/linux/DesktopEntry.cpp
  platform/linux/DesktopEntryBridge.cpp
  platform/linux/DesktopNotifications.cpp
  platform/linux/DisplayAccess.cpp
  platform/linux/ExecLine.cpp
  platform/linux/InputGuard.cpp
  platform/linux/KeyFile.cpp
  platform/linux/KeySigns.cpp
  platform/linux/ModifierTracker.cpp
  platform/linux/NullEventServices.cpp
  platform/linux/ReleaseLedger.cpp
  platform/linux/SessionStart.cpp
  platform/linux/SettingsFile.cpp
  platform/linux/SharedHeldInput.cpp
  platform/linux/Sockets.cpp
  platform/linux/StatusNotifierHosts.cpp
  platform/linux/TrayHost.cpp
  platform/linux/WindowList.cpp
  platform/linux/X11Atoms.cpp
  platform/linux/X11Clipboard.cpp
  platform/linux/X11Display.cpp
  platform/linux/X11EventServices.cpp
  platform/linux/X11Keyboard.cpp
  platform/linux/X11KeyboardMap.cpp
  platform/linux/X11Pointer.cpp
  platform/linux/X11Screens.cpp
  platform/linux/X11SelectionReader.cpp
  platform/linux/X11TraySelection.cpp
  platform/linux/XInputDevices.cpp
  platform/linux/XdgAutostart.cpp
  platform/linux/XdgDirectories.cpp
  platform/linux/XkbKeyFinder.cpp
  platform/linux/makeClipboard.cpp
  platform/linux/makeEventServices.cpp
  platform/linux/makeScreens.cpp
)
target_link_libraries(vornaserver
  PUBLIC Qt6::DBus PkgConfig::DNS_SD
  PRIVATE PkgConfig::XCB PkgConfig::XKBCOMMON)

# The guard of the keys, a program of its own without the toolkit.
set(VORNA_GUARD_NAME VornaServer-guard)
file(RELATIVE_PATH guard_folder ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR})
set_source_files_properties(platform/linux/InputGuard.cpp PROPERTIES COMPILE_DEFINITIONS
  "VORNA_GUARD_NAME=\"${VORNA_GUARD_NAME}\";VORNA_GUARD_FOLDER=\"${guard_folder}\"")
add_executable(${VORNA_GUARD_NAME}
  platform/linux/InputGuardProgram.cpp
  platform/linux/XInputDevices.cpp)
target_include_directories(${VORNA_GUARD_NAME} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(${VORNA_GUARD_NAME} PRIVATE PkgConfig::XCB vorna_flags)
target_link_options(${VORNA_GUARD_NAME} PRIVATE LINKER:--as-needed)
