# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# vorna_moc(TARGET FILE...): runs moc over each file. A source includes its NAME.moc; what a header
# yields is compiled with the target. CMake's AUTOMOC costs seconds of each target, which is too much
# for a hundred small ones.
function(vorna_moc target)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/moc/${target})
  file(MAKE_DIRECTORY ${folder})
  foreach(path IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH path OUTPUT_VARIABLE source)
    cmake_path(GET source STEM name)
    if(source MATCHES "\\.h$")
      set(output ${folder}/moc_${name}.cpp)
      target_sources(${target} PRIVATE ${output})
    else()
      set(output ${folder}/${name}.moc)
      list(APPEND included ${output})
    endif()
    add_custom_command(OUTPUT ${output}
      COMMAND Qt6::moc --no-notes ${source} -o ${output}
      DEPENDS ${source}
      COMMENT ""
      VERBATIM)
  endforeach()
  # A target of their own, which waits for no library.
  add_custom_target(${target}_moc DEPENDS ${included})
  add_dependencies(${target} ${target}_moc)
  set_property(GLOBAL APPEND PROPERTY vorna_moc_targets ${target}_moc)
  target_include_directories(${target} PRIVATE ${folder})
endfunction()
