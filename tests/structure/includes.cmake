# Reads every #include of the library and the host and refuses those that point the wrong way.
#
#   cmake [-DROOT=folder] -P includes.cmake
#
# The table below lists the folders that each folder may include. The host may include the library's installed
# headers, which mien/CMakeLists.txt lists; the library includes nothing of the host. Apart from itself, the
# library includes only the standard library, without the headers for files, threads, clocks and streams
# (symbols.cmake lists the functions of <cstdio> that it may use). Only host/cli includes the command line's
# parser.

cmake_minimum_required(VERSION 3.25)

if(NOT ROOT)
  set(ROOT ${CMAKE_CURRENT_LIST_DIR}/../..)
endif()

set(standard_headers
  algorithm array bit cctype cfloat charconv climits cmath compare complex concepts cstddef cstdint cstdio
  cstdlib cstring functional initializer_list iterator limits list map memory memory_resource new numbers
  numeric optional ranges set source_location span string string_view tuple type_traits typeindex typeinfo
  unordered_map unordered_set utility variant vector version)

set(sees_mien/base mien/base)
set(sees_mien/face mien/base mien/face)
set(sees_mien/actor mien/base mien/face mien/actor)
set(sees_mien/character mien/base mien/face mien/character)
set(sees_mien/batch mien/base mien/face mien/actor mien/batch)
set(sees_mien/mien.h mien/base mien/face mien/actor mien/character mien/batch)

# Folders that use nothing of the host but base come first; each line lists only folders of the lines above
# it.
set(sees_host/base      base)
set(sees_host/files     base files)
set(sees_host/takes     base takes)
set(sees_host/formats   base files takes formats)
set(sees_host/cleaning  base takes cleaning)
set(sees_host/inspect   base takes inspect)
set(sees_host/performer base files takes cleaning performer)
set(sees_host/guess     base takes cleaning performer guess)
set(sees_host/character base files character)
set(sees_host/gltf      base files character gltf)
set(sees_host/fit       base files takes formats cleaning performer character gltf fit)
set(sees_host/face      base character gltf face)
set(sees_host/animation base takes character gltf face animation)
set(sees_host/solve     base takes cleaning performer character fit animation solve)
set(sees_host/calibrate base files takes formats performer fit animation calibrate)
set(sees_host/weights   base files takes formats performer character animation weights)
set(sees_host/live      base files takes formats cleaning performer character fit animation solve weights live)
set(sees_host/compare   base takes formats weights compare)
set(sees_host/wire      base takes formats character weights animation solve live wire)
set(sees_host/net       base net)
set(sees_host/view      base takes inspect performer character gltf animation solve weights compare view)
set(sees_host/jobs      base files takes formats cleaning inspect performer guess character gltf fit face animation
                        solve calibrate weights live compare view jobs)
set(sees_host/stream    base files takes formats performer character weights animation solve live wire net view jobs
                        stream)
set(sees_host/batch     base files formats solve jobs batch)
set(sees_host/cli       base files takes formats cleaning inspect performer guess character gltf fit face animation
                        solve calibrate weights live wire net stream compare view jobs batch cli)
set(sees_host/c_interface base files takes formats cleaning performer guess character fit animation solve calibrate
                        weights live jobs cli c_interface)
foreach(folder base files takes formats cleaning inspect performer guess character gltf fit face animation solve calibrate
               weights live wire net compare view jobs stream batch cli c_interface)
  list(TRANSFORM sees_host/${folder} PREPEND host/)
  list(APPEND sees_host/${folder} mien)
endforeach()

file(READ ${ROOT}/mien/CMakeLists.txt text)
if(NOT text MATCHES "set\\(public_headers([^)]+)\\)")
  message(FATAL_ERROR "mien/CMakeLists.txt has no list public_headers")
endif()
string(REGEX MATCHALL "[^ \n]+" public_headers "${CMAKE_MATCH_1}")
list(TRANSFORM public_headers PREPEND mien/)

file(GLOB_RECURSE files RELATIVE ${ROOT}
  ${ROOT}/mien/*.h ${ROOT}/mien/*.cpp ${ROOT}/host/*.h ${ROOT}/host/*.cpp)
set(includes 0)
set(faults 0)

macro(fault text)
  message("${file}: ${text}")
  math(EXPR faults "${faults} + 1")
endmacro()

foreach(file IN LISTS files)
  string(REGEX MATCH "^(host|mien)/[^/]+" room ${file})
  if(NOT DEFINED sees_${room})
    fault("the folder ${room} is new; list in tests/structure/includes.cmake what it may include")
    continue()
  endif()
  file(STRINGS ${ROOT}/${file} lines REGEX "^[ \t]*#[ \t]*include")
  foreach(line IN LISTS lines)
    math(EXPR includes "${includes} + 1")
    if(line MATCHES "include[ \t]*\"([^\"]+)\"")
      set(header ${CMAKE_MATCH_1})
      set(seen FALSE)
      foreach(folder IN LISTS sees_${room})
        string(FIND ${header} ${folder}/ at)
        if(at EQUAL 0)
          set(seen TRUE)
        endif()
      endforeach()
      if(NOT seen)
        fault("${room} must not include \"${header}\"")
      elseif(NOT EXISTS ${ROOT}/${header})
        fault("\"${header}\" is not a path from the root")
      elseif(room MATCHES "^host/" AND header MATCHES "^mien/" AND NOT header IN_LIST public_headers)
        fault("\"${header}\" is not installed with the library")
      endif()
    elseif(line MATCHES "include[ \t]*<([^>]+)>")
      set(header ${CMAKE_MATCH_1})
      if(header MATCHES "^(mien|host)/")
        fault("our own <${header}> goes in quotes")
      elseif(header MATCHES "^CLI/" AND NOT room STREQUAL "host/cli")
        fault("only host/cli includes <${header}>")
      elseif(room MATCHES "^mien/" AND NOT header IN_LIST standard_headers)
        fault("the library must not include <${header}>")
      endif()
    else()
      fault("cannot read ${line}")
    endif()
  endforeach()
endforeach()

list(LENGTH files file_count)
message("${includes} includes of ${file_count} files read, ${faults} refused")
if(faults OR includes EQUAL 0)
  message(FATAL_ERROR "includes: failed")
endif()
