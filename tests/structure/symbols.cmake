# Checks the shared library's exported and imported symbols.
#
#   cmake -DNM=nm -DLIBRARY=libmien.so -DHEADERS=include-folder -P symbols.cmake
#
# It exports only what a public header marks with MIEN_API. Weak symbols of std are allowed: the compiler
# emits them wherever it does not inline them, and all libraries share them. From the C library it imports
# only exact arithmetic, memory and strings: it opens no file, starts no thread, prints nothing, ends no
# process, and reads neither clock nor environment. The rounding of the C library's exp, sin and so on is not
# defined; mien/base/elementary.h has functions with the same bits everywhere.

cmake_minimum_required(VERSION 3.25)

set(c_functions
  ceil copysign fabs floor fmod rint round sqrt trunc
  calloc free malloc realloc
  memchr memcmp memcpy memmove memset snprintf strcmp strlen strncmp
  __memcpy_chk __snprintf_chk __stack_chk_fail)
set(runtime "^(_Unwind_|__cxa_|__gxx_|_ITM_|__gmon_start__)")

set(faults 0)
macro(fault text)
  message("${text}")
  math(EXPR faults "${faults} + 1")
endmacro()

# read_symbols(out options...): returns lines of a type letter, a blank and the symbol.
function(read_symbols out)
  execute_process(COMMAND ${NM} -D -C ${ARGN} ${LIBRARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL " [A-Za-z] [^\n]+" lines "${text}")
  list(TRANSFORM lines STRIP)
  set(${out} ${lines} PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE headers ${HEADERS}/mien/*.h)
set(public)
foreach(header IN LISTS headers)
  file(STRINGS ${header} lines REGEX "MIEN_API ")
  foreach(line IN LISTS lines)
    if(line MATCHES "(class|struct) MIEN_API ([A-Za-z_]+)")
      list(APPEND public ${CMAKE_MATCH_2})
    elseif(line MATCHES "MIEN_API [^(]* ([A-Za-z_0-9]+)[(]")
      list(APPEND public ${CMAKE_MATCH_1})
    endif()
  endforeach()
endforeach()
list(REMOVE_DUPLICATES public)
list(LENGTH public public_count)

read_symbols(exported --defined-only)
set(exported_count 0)
foreach(symbol IN LISTS exported)
  string(REGEX REPLACE
    "^. (typeinfo for |typeinfo name for |vtable for |guard variable for )?(mien::|detail::)*" "" name "${symbol}")
  if(symbol MATCHES "^[WV]" AND name MATCHES "^operator new|^([^(<]* )?(std|__gnu_cxx)::")
    continue()
  endif()
  math(EXPR exported_count "${exported_count} + 1")
  string(REGEX MATCH "^[A-Za-z_0-9]+" name "${name}")
  if(NOT name IN_LIST public)
    fault("exported, but in no public header: ${symbol}")
  endif()
endforeach()

read_symbols(imported --undefined-only)
set(imported_count 0)
foreach(symbol IN LISTS imported)
  string(REGEX REPLACE "^. ([^@]+).*" "\\1" name "${symbol}")
  if(name MATCHES "::|^operator |^(vtable|typeinfo) for |${runtime}")
    continue()
  endif()
  math(EXPR imported_count "${imported_count} + 1")
  if(NOT name IN_LIST c_functions)
    fault("the library must not use ${name}")
  endif()
endforeach()

message("${exported_count} symbols exported under ${public_count} public names, "
  "${imported_count} C functions used, ${faults} refused")
if(faults OR exported_count EQUAL 0 OR public_count EQUAL 0 OR imported_count EQUAL 0)
  message(FATAL_ERROR "symbols: failed")
endif()
