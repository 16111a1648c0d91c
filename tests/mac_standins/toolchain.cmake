# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Compiles, but does not link, for macOS on Debian: clang for Apple's targets, our declarations in
# place of Apple's SDK, the C++ library and the Qt headers of Debian. MAC_ARCHITECTURE is x86_64 or
# arm64.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MAC_ARCHITECTURE)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${MAC_ARCHITECTURE})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_AR /usr/bin/llvm-ar-14)
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-14)
set(CMAKE_INSTALL_NAME_TOOL /usr/bin/llvm-install-name-tool-14)

if(MAC_ARCHITECTURE STREQUAL arm64)
  set(library_headers "-isystem /usr/aarch64-linux-gnu/include/c++/12 \
-isystem /usr/aarch64-linux-gnu/include/c++/12/aarch64-linux-gnu \
-isystem /usr/aarch64-linux-gnu/include")
else()
  set(library_headers "-isystem /usr/include/c++/12 \
-isystem /usr/include/x86_64-linux-gnu/c++/12 -isystem /usr/include/x86_64-linux-gnu")
endif()
# clang predefines __nonnull for a Mac; glibc has a macro of that name.
set(flags "-nostdinc++ -U__nonnull -D_GNU_SOURCE -isystem ${CMAKE_CURRENT_LIST_DIR}/darwin \
-isystem ${CMAKE_CURRENT_LIST_DIR}/declarations \
-isystem /usr/include/avahi-compat-libdns_sd")
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET ${MAC_ARCHITECTURE}-apple-macosx11)
  set(CMAKE_${language}_FLAGS_INIT "${flags} ${library_headers}")
endforeach()
set(CMAKE_C_COMPILER /usr/bin/clang-14)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-14)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-14)
