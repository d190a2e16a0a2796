# Builds for 32-bit Windows on Debian, with MinGW-w64 (package g++-mingw-w64-i686-posix).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(QMX_IC_TARGET_PREFIX i686-w64-mingw32)
# The old floating-point unit rounds to 64 bits: results would be others. Hosts may call with a stack
# that is aligned to 4 bytes, while what the compiler keeps on it wants 16.
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_INIT "-march=pentium4 -msse2 -mfpmath=sse -mstackrealign")
endforeach()
include(${CMAKE_CURRENT_LIST_DIR}/windows-toolchain.cmake)
