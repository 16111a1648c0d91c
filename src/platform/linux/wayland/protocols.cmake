# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The code of the Wayland protocols that the server speaks: a header NAME-client.h for each.
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
set(generated ${CMAKE_CURRENT_BINARY_DIR}/wayland)
file(MAKE_DIRECTORY ${generated})
add_library(vorna_wayland_protocols STATIC)
set_target_properties(vorna_wayland_protocols PROPERTIES
  POSITION_INDEPENDENT_CODE ON DISABLE_PRECOMPILE_HEADERS ON)
foreach(name virtual-keyboard-unstable-v1 wlr-virtual-pointer-unstable-v1
        wlr-data-control-unstable-v1 ext-data-control-v1 xdg-output-unstable-v1)
  set(description ${CMAKE_CURRENT_LIST_DIR}/protocols/${name}.xml)
  add_custom_command(OUTPUT ${generated}/${name}-client.h
    COMMAND ${WAYLAND_SCANNER} -s client-header ${description} ${generated}/${name}-client.h
    DEPENDS ${description} VERBATIM)
  add_custom_command(OUTPUT ${generated}/${name}.c
    COMMAND ${WAYLAND_SCANNER} -s private-code ${description} ${generated}/${name}.c
    DEPENDS ${description} VERBATIM)
  target_sources(vorna_wayland_protocols PRIVATE
    ${generated}/${name}.c ${generated}/${name}-client.h)
endforeach()
target_include_directories(vorna_wayland_protocols SYSTEM PUBLIC ${generated})
target_link_libraries(vorna_wayland_protocols PUBLIC PkgConfig::WAYLAND)
