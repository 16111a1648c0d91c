# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# The flags with which distributions build what talks to the network, as far as the compiler knows
# them. FORTIFY_SOURCE needs optimisation, and the sanitizers do its work themselves.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

function(vorna_add_if_known name flag)
  check_cxx_compiler_flag("-Werror ${flag}" VORNA_KNOWS_${name})
  if(VORNA_KNOWS_${name})
    target_compile_options(vorna_flags INTERFACE ${flag})
  endif()
endfunction()

target_compile_options(vorna_flags INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
vorna_add_if_known(STACK_PROTECTOR -fstack-protector-strong)
vorna_add_if_known(STACK_CLASH -fstack-clash-protection)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT APPLE) # there the linker does what these ask for, and knows none of them
  vorna_add_if_known(CONTROL_FLOW -fcf-protection)
  target_link_options(vorna_flags INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
