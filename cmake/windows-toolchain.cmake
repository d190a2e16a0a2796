# What the two tool chains for Windows have in common. Programs that a build makes run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${QMX_IC_TARGET_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QMX_IC_TARGET_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${QMX_IC_TARGET_PREFIX}-windres)

# A configuration of Wine of the build's own; no display, no messages of Wine's own; names of files in UTF-8.
find_program(QMX_IC_WINE NAMES wine64 wine wine64-stable PATHS /usr/lib/wine)
if(QMX_IC_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR env -u DISPLAY LC_ALL=C.UTF-8
      WINEPREFIX=${CMAKE_BINARY_DIR}/wine
      WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe= ${QMX_IC_WINE})
endif()

# Libraries and headers of the target alone; programs of this machine.
set(QMX_IC_TARGET_LIBRARIES "" CACHE STRING "Folders of further libraries for the target, such as GDAL's")
set(CMAKE_FIND_ROOT_PATH /usr/${QMX_IC_TARGET_PREFIX} ${QMX_IC_TARGET_LIBRARIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nothing of the compiler's to be loaded; the same bytes from each build; addresses that the system
# chooses, and data that it does not execute.
set(link_flags "-static -Wl,--no-insert-timestamp,--dynamicbase,--nxcompat")
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  string(APPEND link_flags " -Wl,--high-entropy-va")
endif()
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
unset(link_flags)
