# Refuses inline functions in the objects that are compiled for processors with wide vectors.
#
#   cmake -DNM=nm -DOBJECTS=a_avx.o;b_avx512.o -P wide_vectors.cmake
#
# The linker keeps one copy of an inline function for the whole library. If it kept one from these objects, the
# others would call it on every processor, and end on those without wide vectors.

cmake_minimum_required(VERSION 3.25)

set(functions 0)
set(faults 0)
foreach(object IN LISTS OBJECTS)
  execute_process(COMMAND ${NM} -C --defined-only ${object} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL " [TW] [^\n]+" symbols "${text}")
  foreach(symbol IN LISTS symbols)
    math(EXPR functions "${functions} + 1")
    if(symbol MATCHES "^ W ")
      message("${object}: not a part of its callers:${symbol}")
      math(EXPR faults "${faults} + 1")
    endif()
  endforeach()
endforeach()

message("${functions} functions for wide vectors, ${faults} refused")
if(faults OR functions EQUAL 0)
  message(FATAL_ERROR "wide vectors: failed")
endif()
