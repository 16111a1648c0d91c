# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The target tidy: clang-tidy on every source of ours. It takes seconds for the toolkit's headers and a
# moment for a source, so the headers are precompiled and the sources united, also those of tests.
# Nothing else of ours is compiled, and nothing that is generated is looked at.
get_property(moc_targets GLOBAL PROPERTY vorna_moc_targets)
get_property(precompiled GLOBAL PROPERTY vorna_precompiled)
add_custom_target(tidy
  COMMAND ${CMAKE_SOURCE_DIR}/scripts/unite_for_tidy.py ${CMAKE_BINARY_DIR} src client bench tests
  COMMAND run-clang-tidy -quiet -p ${CMAKE_BINARY_DIR}/tidy
  DEPENDS ${precompiled}
  WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
  USES_TERMINAL
  VERBATIM)
add_dependencies(tidy ${moc_targets}
  vornaserver_autogen quillmote_client_autogen quillmote_http_autogen quillmote_network_autogen
  quillmote_web_autogen vorna_test_support_autogen
  vorna_wayland_protocols vorna_window_protocol)
