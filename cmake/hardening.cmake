# What makes a defect harder to misuse, in all builds that are given away: relocations that are read-only
# from the start, guarded stacks, checked copies, and marked targets of indirect jumps where the processor
# can check them. Sanitizers and coverage bring or need other settings. docs/performance.md tells the cost.
if(NOT QMX_IC_HARDENED OR is_module OR WIN32 OR MSVC OR APPLE OR QMX_IC_SANITIZE)
  return()
endif()
include(CheckCXXCompilerFlag)
set(is_given_away $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER QMX_IC_HAS${flag} is_known)
  check_cxx_compiler_flag(${flag} ${is_known})
  if(${is_known})
    target_compile_options(qmx_flags INTERFACE $<${is_given_away}:${flag}>)
  endif()
endforeach()
# Some distributions' compilers define it themselves, and differently.
target_compile_options(qmx_flags INTERFACE
  "$<${is_given_away}:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
target_link_options(qmx_flags INTERFACE $<${is_given_away}:LINKER:-z,relro,-z,now,-z,noexecstack>)
