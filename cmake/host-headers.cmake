# Packages that are headers alone serve every target; the folder they stand in does not, since the system's
# own headers are there too. So each is linked into a folder of the build.
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

# Those of the program.
function(qmx_headers_of_program)
  foreach(name fmt nlohmann CLI toml++ eigen3)
    qmx_link_headers(${name})
  endforeach()
  qmx_header_package(fmt fmt::fmt "" FMT_HEADER_ONLY=1)
  qmx_header_package(nlohmann_json nlohmann_json::nlohmann_json "" "")
  qmx_header_package(CLI11 CLI11::CLI11 "" "")
  qmx_header_package(Eigen3 Eigen3::Eigen /eigen3 "")
  set(QMX_IC_TOMLPLUSPLUS ${headers} CACHE PATH "" FORCE)
endfunction()
