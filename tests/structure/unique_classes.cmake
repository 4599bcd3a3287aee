# Refuses two classes of the same name in the host's headers: in one program, functions of the two would be mixed
# up without a word from the linker.
#
#   cmake [-DROOT=folder] -P unique_classes.cmake

cmake_minimum_required(VERSION 3.25)

if(NOT ROOT)
  set(ROOT ${CMAKE_CURRENT_LIST_DIR}/../..)
endif()

set(classes 0)
set(faults 0)
file(GLOB_RECURSE headers RELATIVE ${ROOT} ${ROOT}/host/*.h)
foreach(header IN LISTS headers)
  set(namespace "")
  file(STRINGS ${ROOT}/${header} lines REGEX "^(namespace|struct|class|enum class) [A-Za-z0-9_:]+.*{")
  foreach(line IN LISTS lines)
    if(line MATCHES "^namespace ([A-Za-z0-9_:]+)")
      set(namespace ${CMAKE_MATCH_1})
    elseif(line MATCHES "^(struct|class) [A-Za-z0-9_]+(<[A-Za-z0-9_, ]*>)?::") # of a class, defined outside of it
      continue()
    elseif(line MATCHES "^(struct|class|enum class) ([A-Za-z0-9_]+)")
      set(name "${namespace}::${CMAKE_MATCH_2}")
      math(EXPR classes "${classes} + 1")
      if(DEFINED "header_of_${name}")
        message("${header}: ${name} is also a class of ${header_of_${name}}; rename one")
        math(EXPR faults "${faults} + 1")
      endif()
      set("header_of_${name}" ${header})
    endif()
  endforeach()
endforeach()

message("${classes} classes read, ${faults} names used twice")
if(classes EQUAL 0 OR faults GREATER 0)
  message(FATAL_ERROR "the host's classes do not have unique names")
endif()
