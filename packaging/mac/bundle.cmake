# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Makes VornaServer.app of the executable, and its installation bring the toolkit along.
set(icon ${CMAKE_CURRENT_LIST_DIR}/VornaServer.icns)
configure_file(${CMAKE_CURRENT_LIST_DIR}/Info.plist.in ${CMAKE_BINARY_DIR}/Info.plist @ONLY)

target_sources(VornaServer PRIVATE ${icon})
set_source_files_properties(${icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_target_properties(VornaServer PROPERTIES
  MACOSX_BUNDLE ON
  MACOSX_BUNDLE_INFO_PLIST ${CMAKE_BINARY_DIR}/Info.plist)

install(TARGETS VornaServer BUNDLE DESTINATION .)
# The name of the variable's keyword changed.
if(Qt6_VERSION VERSION_LESS 6.5)
  set(script_keyword FILENAME_VARIABLE)
else()
  set(script_keyword OUTPUT_SCRIPT)
endif()
qt_generate_deploy_app_script(TARGET VornaServer ${script_keyword} deploy_script)
install(SCRIPT ${deploy_script})
