# Shows that tests/layering.cmake accepts a tree in order and refuses each disorder:
#   cmake -DSCRIPT=<tests/layering.cmake> -DSCRATCH=<directory> -P tests/layering_test.cmake
cmake_minimum_required(VERSION 3.25)

# A small tree in order: config on log and util, the program on top.
function(make_tree)
  file(REMOVE_RECURSE "${SCRATCH}")
  foreach(pair IN ITEMS "util:" "log:util" "config:log util" "http:util" "parsememory:util")
    string(REGEX MATCH "^([a-z]+):(.*)$" _ "${pair}")
    set(links "")
    string(REPLACE " " ";" names "${CMAKE_MATCH_2}")
    foreach(name IN LISTS names)
      string(APPEND links " brennik_${name}")
    endforeach()
    file(WRITE "${SCRATCH}/src/${CMAKE_MATCH_1}/CMakeLists.txt"
      "target_link_libraries(brennik_${CMAKE_MATCH_1} PUBLIC${links}\n  brennik_compile)\n")
    file(WRITE "${SCRATCH}/src/${CMAKE_MATCH_1}/${CMAKE_MATCH_1}.h" "int F();\n")
  endforeach()
  file(WRITE "${SCRATCH}/src/service/CMakeLists.txt" "target_link_libraries(brennik_service brennik_log)\n")
  file(WRITE "${SCRATCH}/src/main/CMakeLists.txt" "target_link_libraries(brennik PRIVATE brennik_service brennik_log)\n")
  file(WRITE "${SCRATCH}/src/main/main.cpp" "#include \"log/log.h\"\n#include \"service/init.h\"\n")
  file(WRITE "${SCRATCH}/src/util/paths.h" "inline constexpr char kCard[] = \"/dev/mmcblk0p1\";\n")
  file(WRITE "${SCRATCH}/src/util/sqlite.cpp" "#include <sqlite3.h>\n")
  file(WRITE "${SCRATCH}/src/config/config.cpp" "#include \"config/config.h\"

#include <libxml/parser.h>
#include \"log/log.h\" // writes to /tmp/CloudLog
/* #include \"http/http.h\"
   reads /tessel/Config */
const char* kUrl = \"http://%s\"; // not /media/mmcblk0p1\n")
endfunction()

function(run_layering result output)
  execute_process(COMMAND "${CMAKE_COMMAND}" "-DSOURCE_DIR=${SCRATCH}" -P "${SCRIPT}"
    RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE said)
  string(REGEX REPLACE "[ \n]+" " " said "${said}")
  set(${result} "${status}" PARENT_SCOPE)
  set(${output} "${said}" PARENT_SCOPE)
endfunction()

# expect_refusal(FILE TEXT MESSAGE): the tree with this file changed is refused for this reason.
function(expect_refusal file text message)
  make_tree()
  file(WRITE "${SCRATCH}/src/${file}" "${text}")
  run_layering(status said)
  string(FIND "${said}" "${message}" position)
  if(status EQUAL 0 OR position EQUAL -1)
    message(SEND_ERROR "${file} with '${text}' should be refused with '${message}'; status ${status}: ${said}")
  endif()
endfunction()

make_tree()
run_layering(status said)
if(NOT status EQUAL 0)
  message(SEND_ERROR "a tree in order is refused: ${said}")
endif()

expect_refusal(log/log.cpp "#include \"config/config.h\"\n" "log/log.cpp includes config/config.h")
expect_refusal(http/http.cpp "#include \"parsememory/parsememory.h\"\n" "does not list brennik_parsememory")
expect_refusal(http/http.cpp "#  include <log/log.h>\n" "http/http.cpp includes log/log.h")
expect_refusal(http/http.cpp "#include \"other.h\"\n" "not of the form")
expect_refusal(http/sub/deep.cpp "#include \"config/config.h\"\n" "http/sub/deep.cpp includes")
expect_refusal(log/CMakeLists.txt "target_link_libraries(brennik_log brennik_config)\n" "not on a lower floor")
expect_refusal(http/CMakeLists.txt "target_link_libraries(brennik_http brennik_parsememory)\n" "not on a lower floor")
expect_refusal(config/CMakeLists.txt "target_link_libraries(brennik_config brennik_util # not brennik_log\n)\n"
  "config/config.cpp includes log/log.h")
expect_refusal(main/main.cpp "#include \"config/config.h\"\n" "main/main.cpp includes config/config.h")
expect_refusal(service/service.cpp "#include \"main/main.h\"\n" "service/service.cpp includes main/main.h")
expect_refusal(cellar/CMakeLists.txt "" "cellar/ has no floor")
expect_refusal(log/log.cpp "auto f = \"/tmp/CloudLog/x\";\n" "spells /tmp/CloudLog")
expect_refusal(config/sysset.h "auto u = \"http://a\"; auto f = \"/tessel/Config\";\n" "spells /tessel")
expect_refusal(util/file.h "constexpr char k[] = \"/media/mmcblk0p1/\";\n" "spells /media/mmcblk0p1")
expect_refusal(http/http.cpp "auto q = '\"'; auto d = \"/dev/mmcblk0p1\";\n" "spells /dev/mmcblk0p1")
expect_refusal(util/sqlite.h "#include <sqlite3.h>\n" "util/sqlite.h includes sqlite3.h")
expect_refusal(http/http.h "#include <curl/curl.h>\n" "http/http.h includes curl/curl.h")
expect_refusal(util/xml.h "#include <libxml/tree.h>\n" "util/xml.h includes libxml/tree.h")

file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}/src")
run_layering(status said)
if(status EQUAL 0)
  message(SEND_ERROR "an empty tree is accepted")
endif()
file(REMOVE_RECURSE "${SCRATCH}")
