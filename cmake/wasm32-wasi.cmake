# Builds one module of WebAssembly for the system interface WASI, with what tools/wasm-tools.sh made: the
# page that computes (web/) holds the program so. Programs that a build makes run in Node.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(QMX_IC_WASM_TOOLS ${CMAKE_CURRENT_LIST_DIR}/../build/wasm-tools CACHE PATH "What tools/wasm-tools.sh made")
get_filename_component(tools ${QMX_IC_WASM_TOOLS} ABSOLUTE)
set(CMAKE_C_COMPILER ${tools}/bin/clang)
set(CMAKE_CXX_COMPILER ${tools}/bin/clang++)
set(CMAKE_AR ${tools}/bin/ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${tools}/bin/ranlib CACHE FILEPATH "")
# The libraries are named, not searched for, and what is tried out is compiled only.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

find_program(QMX_IC_NODE NAMES node nodejs)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QMX_IC_NODE} ${CMAKE_CURRENT_LIST_DIR}/../tests/web/run_module.mjs)

set(CMAKE_FIND_ROOT_PATH ${tools})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Memory may grow to 4 GB. Nothing of this machine's names stays in the module.
set(link "${tools}/bin/wasm-ld --strip-all --gc-sections --stack-first -z stack-size=4194304 --max-memory=4294967296 --build-id=none")
set(libraries "${tools}/lib/crt1-command.o ${tools}/lib/libc++.a ${tools}/lib/libunwind.a ${tools}/lib/libc.a ${tools}/lib/libzigc.a ${tools}/lib/libcompiler_rt.a")
foreach(language C CXX)
  set(CMAKE_${language}_LINK_EXECUTABLE "${link} <OBJECTS> -o <TARGET> <LINK_LIBRARIES> ${libraries}")
endforeach()
set(CMAKE_EXECUTABLE_SUFFIX .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_C .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_CXX .wasm)
