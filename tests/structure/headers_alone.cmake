# Compiles every public header separately and checks that none was left out.
#
#   cmake -DBUILD=folder -DHEADERS=include-folder -P headers_alone.cmake
#
# HEADERS is the folder in which the headers were installed, so that the check covers the headers that users
# get.

cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD} --target all_verify_interface_header_sets
  COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE headers RELATIVE ${HEADERS} ${HEADERS}/mien/*.h)
list(LENGTH headers count)
file(GLOB_RECURSE objects ${BUILD}/mien/CMakeFiles/mien_verify_interface_header_sets.dir/*)
set(missing 0)
foreach(header IN LISTS headers)
  string(REPLACE "." "[.]" pattern ${header})
  if(NOT objects MATCHES "/${pattern}[.][a-z]+[.]o(bj)?(;|$)")
    message("not compiled alone: ${header}")
    math(EXPR missing "${missing} + 1")
  endif()
endforeach()

message("${count} public headers compile alone, ${missing} were left out")
if(missing OR count EQUAL 0)
  message(FATAL_ERROR "headers alone: failed")
endif()
