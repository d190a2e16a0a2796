# Writes the notices of an artefact: who made the code of others in it, and their licences.
#   cmake -DOUTPUT=... -DTITLE=... -DPARTS=NAME|FILE|FURTHER TEXT...;... -P write_notices.cmake
set(text "${TITLE}\n\nThey concern the code of others in it, which is linked in or compiled in from headers. The licence of
QMX_IC itself is the MIT license, in the file LICENSE or copyright.\n")
set(further "")
string(REPEAT "=" 90 rule)
foreach(part IN LISTS PARTS)
  string(REPLACE "|" ";" fields "${part}")
  list(POP_FRONT fields name)
  list(POP_FRONT fields file)
  list(APPEND further ${fields})
  file(READ "${file}" notice)
  if(file MATCHES "[.]h$") # its first comment alone
    string(REGEX REPLACE "[*]/.*" "*/\n" notice "${notice}")
  endif()
  string(APPEND text "\n${rule}\n${name}\n${rule}\n\n${notice}")
endforeach()
list(REMOVE_DUPLICATES further)
foreach(file IN LISTS further)
  get_filename_component(name "${file}" NAME)
  file(READ "${file}" licence)
  string(APPEND text "\n${rule}\nThe text of ${name}, which is named above\n${rule}\n\n${licence}")
endforeach()
file(WRITE "${OUTPUT}" "${text}")
