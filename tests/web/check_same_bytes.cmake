# The page made once more is the same, byte for byte, and names nothing of this machine.
get_filename_component(folder ${PAGE} DIRECTORY)
set(again ${folder}/again.html)
execute_process(
  COMMAND ${NODE} ${BUILD} --packages ${PACKAGES} --module ${MODULE} --version ${VERSION} --tools ${TOOLS}
          --report-template ${TEMPLATE} --output ${again}
  RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the page cannot be made once more")
endif()
file(SHA256 ${PAGE} first)
file(SHA256 ${again} second)
file(REMOVE ${again})
if(NOT first STREQUAL second)
  message(FATAL_ERROR "the page made once more differs")
endif()
get_filename_component(source ${BUILD}/../.. ABSOLUTE)
foreach(file ${PAGE} ${MODULE})
  file(STRINGS ${file} named REGEX "${source}")
  if(named)
    message(FATAL_ERROR "${file} names the folder ${source}")
  endif()
endforeach()
