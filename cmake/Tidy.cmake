# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The target tidy: clang-tidy on every source of ours, one process a source. Nothing of ours is
# compiled, and nothing that is generated is looked at.
get_property(moc_targets GLOBAL PROPERTY vorna_moc_targets)
add_custom_target(tidy
  COMMAND run-clang-tidy -quiet -p ${CMAKE_BINARY_DIR}
    "^${CMAKE_SOURCE_DIR}/(src|client|bench|tests)/.*[.]cpp$"
  USES_TERMINAL
  VERBATIM)
add_dependencies(tidy ${moc_targets}
  vornaserver_autogen quillmote_client_autogen quillmote_http_autogen quillmote_network_autogen
  quillmote_web_autogen vorna_test_support_autogen
  vorna_wayland_protocols vorna_window_protocol)
