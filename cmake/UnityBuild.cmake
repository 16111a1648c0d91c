# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# A source takes less time to compile than the templates and inline functions of the headers that it
# includes. With VORNA_UNITE a dozen sources of a folder are compiled as one, so these are compiled once
# for all of them, and an edit still costs two or three seconds. Names in the anonymous namespaces of a
# folder must differ. The preset release shows that each source compiles alone.
set(vorna_united_at_once 12)
if(VORNA_TIDY) # which looks at all of them each time, so nobody waits for an edit
  set(vorna_united_at_once 48)
endif()

# vorna_unite(TARGET [ALONE source...]): unites the target's sources; to be called when all of them are
# known. Alone stay sources with flags of their own, and those that are named: tests put code of
# their own in the place of these, or of what these call, which the linker takes only while it needs
# nothing else of the same object.
function(vorna_unite target)
  cmake_parse_arguments(arg "" "" "ALONE" ${ARGN})
  if(NOT VORNA_UNITE)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  if(arg_ALONE)
    set_source_files_properties(${arg_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    list(REMOVE_ITEM sources ${arg_ALONE})
  endif()
  list(SORT sources)
  foreach(source IN LISTS sources)
    cmake_path(ABSOLUTE_PATH source)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(RELATIVE_PATH folder BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    string(MAKE_C_IDENTIFIER "${folder}" folder)
    math(EXPR position "${position_in_${folder}} + 0")
    math(EXPR position_in_${folder} "${position} + 1")
    math(EXPR part "${position} / ${vorna_united_at_once} + 1")
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder}_${part})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
