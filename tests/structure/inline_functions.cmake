# Checks the inline functions of which a static library contains copies.
#
#   cmake -DNM=nm -DLIBRARY=libmien.a -P inline_functions.cmake
#
# The linker keeps one copy of each for the whole program. The library's copies of inline functions in public
# headers therefore have names that no caller's copy has (mien/base/affine.h). No caller compiles the
# functions of mien::detail.

cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -C ${LIBRARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " W mien::[^\n]+" functions "${text}")
list(REMOVE_DUPLICATES functions)
set(faults 0)
foreach(function IN LISTS functions)
  if(NOT function MATCHES "^ W mien::(in_library|detail)::")
    message("a caller's copy could replace it:${function}")
    math(EXPR faults "${faults} + 1")
  endif()
endforeach()

list(LENGTH functions count)
message("${count} inline functions of mien, ${faults} refused")
if(faults)
  message(FATAL_ERROR "inline functions: failed")
endif()
