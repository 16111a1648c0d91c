# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Read by the project when it is configured for a Mac without one.

# What Debian's Qt packages look for and a Mac's do not need.
add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED)

# Precompiled headers, as the toolkit's are most of what there is to compile. That a file includes
# what it uses is shown by the build on Linux, which has none.
function(precompile_toolkit)
  set(core QCoreApplication QHash QObject QSettings QStringList QVariant functional memory span)
  set(network QHostAddress QTcpServer QTcpSocket)
  set(widgets QApplication QDialog QMenu QMessageBox QSystemTrayIcon)
  list(TRANSFORM core REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  list(TRANSFORM network REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  list(TRANSFORM widgets REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  target_precompile_headers(vornaserver PRIVATE ${core} ${network} ${widgets})
  target_precompile_headers(quillmote_client PRIVATE ${core} ${network})
  target_precompile_headers(quillmote_program REUSE_FROM quillmote_client)
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL precompile_toolkit)
