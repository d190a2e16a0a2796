# What is given away has read-only relocations, all bound at the start, no executable stack, guarded
# stacks and, in programs, checked copies: BINARIES, looked at with READELF.
foreach(binary IN LISTS BINARIES)
  execute_process(COMMAND ${READELF} --wide --program-headers --dynamic --dyn-syms ${binary}
                  OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
  foreach(sign "GNU_RELRO" "NOW" "GNU_STACK +0x0+ 0x0+ 0x0+ 0x0+ 0x0+ RW " "__stack_chk_fail")
    if(NOT told MATCHES "${sign}")
      message(SEND_ERROR "${binary} has no ${sign}")
    endif()
  endforeach()
  if(told MATCHES "TEXTREL|RWE")
    message(SEND_ERROR "${binary} has code that can be written to")
  endif()
endforeach()
