# What a build for Windows on another system takes from that system's packages.
set(CMAKE_FIND_LIBRARY_SUFFIXES .a) # a program that needs no library beside it
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}) # programs find the library in their own folder

include(${CMAKE_CURRENT_LIST_DIR}/host-headers.cmake)

if(QMX_IC_BUILD_APP)
  qmx_headers_of_program()
  find_library(gcrypt gcrypt REQUIRED)
  find_library(gpg_error gpg-error REQUIRED)
  set(LIBGCRYPT_LIBRARY ${gcrypt} ${gpg_error} ws2_32 CACHE STRING "" FORCE)
  # The pictures' library is there for this system alone: it is compiled from its source package.
  set(QMX_IC_LODEPNG_SOURCE "" CACHE PATH "Folder of lodepng.cpp and lodepng.h")
  if(QMX_IC_LODEPNG_SOURCE)
    add_library(lodepng_of_target STATIC EXCLUDE_FROM_ALL ${QMX_IC_LODEPNG_SOURCE}/lodepng.cpp)
    set(LODEPNG_INCLUDE_DIR ${QMX_IC_LODEPNG_SOURCE} CACHE PATH "" FORCE)
    set(LODEPNG_LIBRARY lodepng_of_target CACHE STRING "" FORCE)
  endif()
endif()

if(QMX_IC_BUILD_TESTS)
  qmx_link_headers(boost)
  set(Boost_NO_BOOST_CMAKE ON)
  set(Boost_INCLUDE_DIR ${headers} CACHE PATH "" FORCE)
  set(googletest /usr/src/googletest/googletest)
  add_library(gtest_of_target STATIC EXCLUDE_FROM_ALL
    ${googletest}/src/gtest-all.cc ${googletest}/src/gtest_main.cc)
  target_include_directories(gtest_of_target SYSTEM PUBLIC ${googletest}/include PRIVATE ${googletest})
  target_compile_options(gtest_of_target PRIVATE -O0)
  qmx_header_package(GTest GTest::gtest_main "" "")
  file(APPEND ${PROJECT_BINARY_DIR}/host-packages/GTestConfig.cmake
    "target_link_libraries(GTest::gtest_main INTERFACE gtest_of_target)\n"
    "set_property(TARGET GTest::gtest_main PROPERTY INTERFACE_INCLUDE_DIRECTORIES)\n")
endif()
