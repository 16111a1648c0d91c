# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The adapters of a Linux desktop.
target_sources(vornaserver PRIVATE
  platform/linux/applications/DBusActivation.cpp
  platform/linux/applications/DesktopApplication.cpp
  platform/linux/applications/DesktopEntry.cpp
  platform/linux/applications/DesktopEntryBridge.cpp
  platform/linux/applications/ExecLine.cpp
  platform/linux/applications/KeyFile.cpp
  platform/linux/applications/MimeAssociations.cpp
  platform/linux/applications/WindowList.cpp
  platform/linux/applications/XdgDirectories.cpp
  platform/linux/clipboard/Contents.cpp
  platform/linux/clipboard/ContentsReader.cpp
  platform/linux/clipboard/DataDevice.cpp
  platform/linux/clipboard/DataSelections.cpp
  platform/linux/clipboard/NoClipboard.cpp
  platform/linux/clipboard/Paster.cpp
  platform/linux/clipboard/PipeBytes.cpp
  platform/linux/clipboard/PipeReader.cpp
  platform/linux/clipboard/PipeWriters.cpp
  platform/linux/clipboard/SelectionClipboard.cpp
  platform/linux/clipboard/SelectionLoan.cpp
  platform/linux/clipboard/Selections.h
  platform/linux/clipboard/X11Clipboard.cpp
  platform/linux/clipboard/X11SelectionReader.cpp
  platform/linux/factories.cpp
  platform/linux/input/FocusedProgram.cpp
  platform/linux/input/InputGuard.cpp
  platform/linux/input/KeyRange.cpp
  platform/linux/input/KeySymbols.cpp
  platform/linux/input/LayoutKeys.cpp
  platform/linux/input/ModifierTracker.cpp
  platform/linux/input/NamedKeySymbols.cpp
  platform/linux/input/NullEventServices.cpp
  platform/linux/input/OwnKeymap.cpp
  platform/linux/input/PlaceOnScreens.cpp
  platform/linux/input/ReleaseLedger.cpp
  platform/linux/input/Remainder.cpp
  platform/linux/input/ServerGrab.cpp
  platform/linux/input/SharedHeldInput.cpp
  platform/linux/input/SpareKeyRecord.cpp
  platform/linux/input/SpareKeys.cpp
  platform/linux/input/TypingBrake.cpp
  platform/linux/input/TypingKeymap.cpp
  platform/linux/input/TypingPace.cpp
  platform/linux/input/VirtualKeyboard.cpp
  platform/linux/input/WlrootsDesktopInput.cpp
  platform/linux/input/WlrootsEventServices.cpp
  platform/linux/input/WlrootsKeyboard.cpp
  platform/linux/input/WlrootsPointer.cpp
  platform/linux/input/WlrootsTypist.cpp
  platform/linux/input/X11DesktopInput.cpp
  platform/linux/input/X11EventServices.cpp
  platform/linux/input/X11Keyboard.cpp
  platform/linux/input/X11KeyboardMap.cpp
  platform/linux/input/X11Pointer.cpp
  platform/linux/input/X11Typist.cpp
  platform/linux/input/XkbCandidates.cpp
  platform/linux/input/XkbKeyFinder.cpp
  platform/linux/input/XkbSymbolFinder.cpp
  platform/linux/portal/EvdevKeys.cpp
  platform/linux/portal/ForeignStretch.cpp
  platform/linux/portal/PortalBus.cpp
  platform/linux/portal/PortalClipboard.cpp
  platform/linux/portal/PortalDesktopInput.cpp
  platform/linux/portal/PortalEvent.cpp
  platform/linux/portal/PortalEventServices.cpp
  platform/linux/portal/PortalHandshake.cpp
  platform/linux/portal/PortalKeyboard.cpp
  platform/linux/portal/PortalLayout.cpp
  platform/linux/portal/PortalOutbox.cpp
  platform/linux/portal/PortalPointer.cpp
  platform/linux/portal/PortalPresence.cpp
  platform/linux/portal/PortalRequest.cpp
  platform/linux/portal/PortalSelectionCalls.cpp
  platform/linux/portal/PortalSelections.cpp
  platform/linux/portal/PortalSession.cpp
  platform/linux/portal/PortalTypist.cpp
  platform/linux/portal/RemoteDesktopPortal.cpp
  platform/linux/portal/RestoreToken.cpp
  platform/linux/session/AvahiWatch.cpp
  platform/linux/session/ClipboardRoute.cpp
  platform/linux/session/DesktopNotifications.cpp
  platform/linux/session/DisplayAccess.cpp
  platform/linux/session/InputRoute.cpp
  platform/linux/session/SettingsFile.cpp
  platform/linux/session/StatusNotifierHosts.cpp
  platform/linux/session/TrayAttention.cpp
  platform/linux/session/TrayHost.cpp
  platform/linux/session/TrayWatch.h
  platform/linux/session/WaylandScreens.cpp
  platform/linux/session/X11Screens.cpp
  platform/linux/session/X11TraySelection.cpp
  platform/linux/session/XdgAutostart.cpp
  platform/linux/system/Beneath.cpp
  platform/linux/system/FolderSystem.cpp
  platform/linux/system/SessionHostSystem.cpp
  platform/linux/system/SocketSystem.cpp
  platform/linux/wayland/CompositorPatience.cpp
  platform/linux/wayland/KeymapFile.cpp
  platform/linux/wayland/ProgramSockets.cpp
  platform/linux/wayland/SeatKeymap.cpp
  platform/linux/wayland/WaylandConnection.cpp
  platform/linux/wayland/WaylandHandles.cpp
  platform/linux/wayland/WaylandOutbox.cpp
  platform/linux/wayland/WaylandOutputs.cpp
  platform/linux/x11/TimedReply.cpp
  platform/linux/x11/X11Connection.cpp
  platform/linux/x11/X11Server.cpp
  platform/linux/x11/X11WindowManager.cpp
  platform/linux/x11/XInputDevices.cpp
)
include(platform/linux/wayland/protocols.cmake)
target_link_libraries(vornaserver
  PUBLIC Qt6::DBus PkgConfig::DNS_SD
  PRIVATE PkgConfig::GLIB PkgConfig::XCB PkgConfig::XKBCOMMON vorna_wayland_protocols)

# The guard of the keys, a program of its own without the toolkit.
set(VORNA_GUARD_NAME VornaServer-guard)
file(RELATIVE_PATH guard_folder ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR})
set_source_files_properties(platform/linux/input/InputGuard.cpp PROPERTIES COMPILE_DEFINITIONS
  "VORNA_GUARD_NAME=\"${VORNA_GUARD_NAME}\";VORNA_GUARD_FOLDER=\"${guard_folder}\"")
add_executable(${VORNA_GUARD_NAME}
  platform/linux/input/InputGuardProgram.cpp
  platform/linux/input/PointerGuard.cpp
  platform/linux/input/ServerWatch.cpp
  platform/linux/x11/XInputDevices.cpp)
target_include_directories(${VORNA_GUARD_NAME} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(${VORNA_GUARD_NAME} PRIVATE PkgConfig::XCB vorna_wayland_protocols vorna_flags)
target_link_options(${VORNA_GUARD_NAME} PRIVATE LINKER:--as-needed)
