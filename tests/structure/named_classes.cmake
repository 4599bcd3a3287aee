# Compares the classes of the public headers with those that a document names.
#
#   cmake -DHEADERS=include-folder -DDOCUMENT=library.md -P named_classes.cmake
#
# Below the document's heading "Classes", each class and struct outside mien::detail has exactly one table
# row, whose first cell is its name in backticks. Each such row names a class that exists. HEADERS is the
# folder in which the headers were installed.

cmake_minimum_required(VERSION 3.25)

set(faults 0)
macro(fault text)
  message("${text}")
  math(EXPR faults "${faults} + 1")
endmacro()

set(classes)
file(GLOB_RECURSE headers ${HEADERS}/mien/*.h)
foreach(header IN LISTS headers)
  set(internal FALSE)
  file(STRINGS ${header} lines REGEX "^(namespace|} // namespace|class|struct) ")
  foreach(line IN LISTS lines)
    if(line MATCHES "namespace mien::detail")
      string(REGEX MATCH "^namespace" internal "${line}")
    elseif(NOT internal AND line MATCHES "^(class|struct) (MIEN_API )?([A-Za-z0-9_]+)( : .*)? {$")
      list(APPEND classes ${CMAKE_MATCH_3})
    endif()
  endforeach()
endforeach()

# The first cells of the table rows below the heading, "\n| `NAME`".
file(READ ${DOCUMENT} text)
string(FIND "${text}" "\n## Classes\n" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} has no heading \"Classes\"")
endif()
string(SUBSTRING "${text}" ${at} -1 text)
string(REGEX MATCHALL "\n[|] `[A-Za-z0-9_:]+`" cells "${text}")
set(named)
foreach(cell IN LISTS cells)
  string(REGEX REPLACE ".*`(mien::)?([A-Za-z0-9_:]+)`" "\\2" name "${cell}")
  if(name IN_LIST named)
    fault("named twice: ${name}")
  elseif(NOT name IN_LIST classes)
    fault("in no public header: ${name}")
  endif()
  list(APPEND named ${name})
endforeach()
foreach(class IN LISTS classes)
  if(NOT class IN_LIST named)
    fault("not named: ${class}")
  endif()
endforeach()

list(LENGTH classes count)
cmake_path(GET DOCUMENT FILENAME document)
message("${count} public classes, ${faults} refused in ${document}")
if(faults OR count EQUAL 0)
  message(FATAL_ERROR "named classes: failed")
endif()
