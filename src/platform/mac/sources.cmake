# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The adapters of macOS.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD ${CMAKE_CXX_STANDARD})
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

target_sources(vornaserver PRIVATE
  platform/mac/Accessibility.cpp
  platform/mac/AdvertisementDaemon.cpp
  platform/mac/AppKitRuntime.mm
  platform/mac/AppService.mm
  platform/mac/AppleScriptingBridge.mm
  platform/mac/AutoLaunchList.cpp
  platform/mac/Beneath.cpp
  platform/mac/CFText.cpp
  platform/mac/DisplayAccess.cpp
  platform/mac/FolderSystem.cpp
  platform/mac/LaunchAgent.cpp
  platform/mac/MediaKeyEvent.mm
  platform/mac/NotificationDaemon.cpp
  platform/mac/QuartzDesktopInput.cpp
  platform/mac/QuartzEventServices.cpp
  platform/mac/SettingsFile.cpp
  platform/mac/SessionHostSystem.cpp
  platform/mac/SocketSystem.cpp
  platform/mac/TrayHost.cpp
  platform/mac/VirtualKeys.cpp
  platform/mac/makeClipboard.cpp
  platform/mac/makeDesktopAdapters.cpp
  platform/mac/makeScreens.cpp
  platform/mac/makeSessionStart.cpp
)
target_compile_definitions(vornaserver
  PRIVATE VORNA_BUNDLE_IDENTIFIER="${VORNA_BUNDLE_IDENTIFIER}")
# ServiceManagement is looked up by name while the program runs, so nothing but this loads it.
target_link_libraries(vornaserver PUBLIC
  "-framework AppKit"
  "-framework ApplicationServices"
  "-framework CoreFoundation"
  "-framework ScriptingBridge"
  "-framework ServiceManagement")
