# Holds the floors of src/ to their order:
#   cmake -DSOURCE_DIR=<checkout> -P tests/layering.cmake
# - A folder includes, beside its own headers, only headers of folders whose libraries the
#   target_link_libraries line of its own library lists, and lists lower floors only.
# - main/ is the top floor: the program `brennik` instead of a library.
# - Absolute paths of the gateway stand in util/paths.h only.
# - Headers of SQLite, libcurl and libxml2 are included by .cpp files only.
cmake_minimum_required(VERSION 3.25)

# A folder's floor is its place here; those that share a line know nothing of each other.
set(floors
  "util"
  "log"
  "config"
  "datasource packmemory parsememory http"
  "historydata"
  "packfile"
  "service"
  "schedule"
  "main")

set(gateway_paths "/tessel|/media/mmcblk0p1|/tmp/CloudLog|/dev/mmcblk0p1")
set(home_of_paths "util/paths.h")
set(foreign_headers "sqlite3(ext)?[.]h|(curl/)?curl[.]h|libxml/.*")

set(check layering)
include("${CMAKE_CURRENT_LIST_DIR}/violations.cmake")

# The lines of a C++ file without its comments. What CMake's lists would trip over is replaced.
function(read_code file result)
  file(READ "${file}" text)
  string(REGEX REPLACE "[][;]" " " text "${text}")
  string(REGEX REPLACE "'\\\\?\"'" "' '" text "${text}")
  string(REGEX REPLACE "/[*]([^*]|[*]+[^*/])*[*]+/" " " text "${text}")
  string(REPLACE "\n" ";" lines "${text}")
  set(code "")
  foreach(line IN LISTS lines)
    # Two slashes begin a comment unless a string holds them.
    if(line MATCHES "//" AND line MATCHES "^(([^\"/]|/[^/]|\"([^\"\\]|\\\\.)*\")*)//")
      set(line "${CMAKE_MATCH_1}")
    endif()
    list(APPEND code "${line}")
  endforeach()
  set(${result} "${code}" PARENT_SCOPE)
endfunction()

# The folders whose libraries a target links to.
function(read_links folder target result)
  file(READ "${src}/${folder}/CMakeLists.txt" text)
  string(REGEX REPLACE "#[^\n]*" "" text "${text}")
  set(links "")
  string(REGEX MATCHALL "target_link_libraries[ \t]*[(][ \t\n]*${target}[ \t\n][^)]*[)]" calls "${text}")
  foreach(call IN LISTS calls)
    string(REGEX MATCHALL "brennik_[a-z]+" names "${call}")
    list(TRANSFORM names REPLACE "^brennik_" "")
    foreach(name IN LISTS names)
      if(name IN_LIST folders AND NOT "brennik_${name}" STREQUAL target)
        list(APPEND links ${name})
      endif()
    endforeach()
  endforeach()
  set(${result} "${links}" PARENT_SCOPE)
endfunction()

# One file against the folders that it may include.
function(check_file file allowed)
  read_code("${src}/${file}" code)
  foreach(line IN LISTS code)
    if(line MATCHES "(${gateway_paths})" AND NOT file STREQUAL home_of_paths)
      refuse("${file} spells ${CMAKE_MATCH_1}; paths of the gateway stand in ${home_of_paths}")
    endif()
    if(NOT line MATCHES "^[ \t]*#[ \t]*include[ \t]*([\"<])([^\">]+)[\">]")
      continue()
    endif()
    set(quote "${CMAKE_MATCH_1}")
    set(header "${CMAKE_MATCH_2}")
    if(file MATCHES "[.]h$" AND header MATCHES "^(${foreign_headers})$")
      refuse("${file} includes ${header}; foreign headers stay in .cpp files")
    endif()
    string(REGEX REPLACE "/.*" "" target "${header}")
    if(target IN_LIST folders)
      if(NOT target IN_LIST allowed)
        refuse("${file} includes ${header}, and its target_link_libraries line does not list brennik_${target}")
      endif()
    elseif(quote STREQUAL "\"" AND NOT header MATCHES "^(${foreign_headers})$")
      refuse("${file} includes \"${header}\", which is not of the form \"folder/header.h\"")
    endif()
  endforeach()
  set(violations ${violations} PARENT_SCOPE)
endfunction()

set(src "${SOURCE_DIR}/src")
set(folders "")
set(floor 0)
foreach(row IN LISTS floors)
  string(REPLACE " " ";" row "${row}")
  foreach(folder IN LISTS row)
    list(APPEND folders ${folder})
    set(floor_of_${folder} ${floor})
  endforeach()
  math(EXPR floor "${floor} + 1")
endforeach()

file(GLOB found RELATIVE "${src}" "${src}/*/CMakeLists.txt")
list(TRANSFORM found REPLACE "/CMakeLists.txt$" "")
if(NOT found)
  refuse("no folder below ${src}")
endif()

set(checked 0)
foreach(folder IN LISTS found)
  if(NOT folder IN_LIST folders)
    refuse("${folder}/ has no floor; give it one in tests/layering.cmake")
    continue()
  endif()
  set(target brennik_${folder})
  if(folder STREQUAL main)
    set(target brennik)
  endif()
  read_links(${folder} ${target} links)
  foreach(link IN LISTS links)
    if(NOT floor_of_${link} LESS floor_of_${folder})
      refuse("${folder}/ links to brennik_${link}, which is not on a lower floor")
    endif()
  endforeach()
  file(GLOB_RECURSE files RELATIVE "${src}" "${src}/${folder}/*.h" "${src}/${folder}/*.cpp")
  foreach(file IN LISTS files)
    check_file(${file} "${folder};${links}")
    math(EXPR checked "${checked} + 1")
  endforeach()
endforeach()

if(checked EQUAL 0)
  refuse("no source below ${src}")
endif()
message(STATUS "layering: ${checked} files checked, ${violations} violations")
