# What a module of WebAssembly takes from this system's packages: headers, and what tools/wasm-tools.sh
# compiled of their sources.
include(${CMAKE_CURRENT_LIST_DIR}/host-headers.cmake)
get_filename_component(tools ${QMX_IC_WASM_TOOLS} ABSOLUTE)
set(sources ${tools}/include/sources)
qmx_headers_of_program()
set(ZLIB_INCLUDE_DIR ${sources} CACHE PATH "" FORCE)
set(ZLIB_LIBRARY ${tools}/lib/libz.a CACHE FILEPATH "" FORCE)
set(LODEPNG_INCLUDE_DIR ${sources} CACHE PATH "" FORCE)
set(LODEPNG_LIBRARY ${tools}/lib/liblodepng.a CACHE FILEPATH "" FORCE)
set(QMX_IC_LIBMD_INCLUDE_DIR ${sources} CACHE PATH "" FORCE)
set(QMX_IC_LIBMD_LIBRARY ${tools}/lib/libmd.a CACHE FILEPATH "" FORCE)
set(CMAKE_HAVE_LIBC_PTHREAD ON CACHE INTERNAL "") # which starts no thread
