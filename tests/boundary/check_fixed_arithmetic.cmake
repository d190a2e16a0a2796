# Fails where a library takes a function of the C library whose result no standard fixes. Called with
# LIBRARY, shared or static, and NM.
set(dynamic -D)
if(LIBRARY MATCHES "[.]a$")
  set(dynamic "")
endif()
execute_process(COMMAND ${NM} ${dynamic} --undefined-only ${LIBRARY} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL
       " (exp|exp2|exp10|expm1|log|log2|log10|log1p|pow|sin|cos|tan|sincos|asin|acos|atan|atan2|sinh|cosh|tanh|asinh|acosh|atanh|erf|erfc|lgamma|tgamma|hypot|cbrt|fma)f?[@\n]"
       found "${symbols}")
if(found)
  message(FATAL_ERROR "not the same on every processor, use base/elementary_functions.hpp or study/base/portable_math.hpp: ${found}")
endif()
