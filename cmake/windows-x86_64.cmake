# Builds for 64-bit Windows on Debian, with MinGW-w64 (package g++-mingw-w64-x86-64-posix).
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(QMX_IC_TARGET_PREFIX x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/windows-toolchain.cmake)
