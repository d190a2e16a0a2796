# What a build for Windows on another system takes from that system's packages. Packages that are headers
# alone serve every target; the folder they stand in does not, since the system's own headers are there
# too. So each is linked into a folder of the build.
set(CMAKE_FIND_LIBRARY_SUFFIXES .a) # a program that needs no library beside it
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}) # programs find the library in their own folder

set(headers ${PROJECT_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${headers} ${PROJECT_BINARY_DIR}/host-packages)
set(QMX_IC_HOST_HEADERS /usr/include CACHE PATH "Where the packages stand that are headers alone")
function(qmx_link_headers name)
  if(NOT EXISTS ${QMX_IC_HOST_HEADERS}/${name})
    message(FATAL_ERROR "${QMX_IC_HOST_HEADERS}/${name} is not there: tools/install-packages.sh installs it")
  endif()
  if(NOT EXISTS ${headers}/${name})
    file(CREATE_LINK ${QMX_IC_HOST_HEADERS}/${name} ${headers}/${name} SYMBOLIC)
  endif()
endfunction()

# package  name of its target  folder of headers beside the common one  definition
function(qmx_header_package package target folder definition)
  set(config ${PROJECT_BINARY_DIR}/host-packages/${package}Config.cmake)
  file(CONFIGURE OUTPUT ${config} @ONLY CONTENT [[
if(NOT TARGET @target@)
  add_library(@target@ INTERFACE IMPORTED GLOBAL)
  set_target_properties(@target@ PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "@headers@@folder@"
    INTERFACE_COMPILE_DEFINITIONS "@definition@")
endif()
]])
  set(${package}_DIR ${PROJECT_BINARY_DIR}/host-packages CACHE PATH "" FORCE)
endfunction()

if(QMX_IC_BUILD_APP)
  foreach(name fmt nlohmann CLI toml++ eigen3)
    qmx_link_headers(${name})
  endforeach()
  qmx_header_package(fmt fmt::fmt "" FMT_HEADER_ONLY=1)
  qmx_header_package(nlohmann_json nlohmann_json::nlohmann_json "" "")
  qmx_header_package(CLI11 CLI11::CLI11 "" "")
  qmx_header_package(Eigen3 Eigen3::Eigen /eigen3 "")
  set(QMX_IC_TOMLPLUSPLUS ${headers} CACHE PATH "" FORCE)
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
