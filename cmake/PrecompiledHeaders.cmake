# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Most of what there is to compile are the toolkit's headers. With VORNA_PRECOMPILE they are read
# once. That a file includes what it uses is shown by the preset release.
set(vorna_headers_CORE
  QByteArray QCoreApplication QDir QFile QFileInfo QHash QList QObject QPointer QRegularExpression
  QSettings QSocketNotifier QStandardPaths QString QStringList QTimer QVariant
  algorithm array chrono functional memory optional span utility vector)
set(vorna_headers_NETWORK QHostAddress QTcpServer QTcpSocket)
set(vorna_headers_WIDGETS QApplication QIcon QMessageBox QPushButton QSystemTrayIcon)
set(vorna_headers_TEST QElapsedTimer QProcess QSignalSpy QTemporaryDir QTest)

if(VORNA_PRECOMPILE)
  # These name the folders of one test. Our tests do not look at them, and headers can be shared only
  # between targets with the same macros.
  target_compile_options(vorna_flags INTERFACE -UQT_TESTCASE_BUILDDIR -UQT_TESTCASE_SOURCEDIR)
endif()

# vorna_precompile(TARGET GROUP...): precompiles these groups of headers for the target.
function(vorna_precompile target)
  if(NOT VORNA_PRECOMPILE)
    return()
  endif()
  foreach(group IN LISTS ARGN)
    list(APPEND headers ${vorna_headers_${group}})
  endforeach()
  # A Mac's sources in Objective-C++ do without.
  list(TRANSFORM headers REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  target_precompile_headers(${target} PRIVATE ${headers})
  set_property(GLOBAL APPEND PROPERTY vorna_precompiled
    ${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/${target}.dir/cmake_pch.hxx.pch)
endfunction()

# vorna_precompile_like(OTHER TARGET): the target takes the other's, which has the same flags.
function(vorna_precompile_like other target)
  if(VORNA_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM ${other})
  endif()
endfunction()
