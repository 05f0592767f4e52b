# What `brennik-status version` says of its build. It depends on the commit alone, so that a commit always gives the
# same program. A tree without git has an unknown commit.
set(BRENNIK_COMMIT unknown)
set(BRENNIK_ARCHITECTURE "${CMAKE_LIBRARY_ARCHITECTURE}")
if(NOT BRENNIK_ARCHITECTURE)
  set(BRENNIK_ARCHITECTURE "${CMAKE_SYSTEM_PROCESSOR}")
endif()

# ask_git(VARIABLE ARGUMENT…): its answer, or an empty text
function(ask_git variable)
  execute_process(COMMAND git -C "${PROJECT_SOURCE_DIR}" ${ARGN}
    OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE result)
  if(NOT result STREQUAL "0")
    set(answer "")
  endif()
  set(${variable} "${answer}" PARENT_SCOPE)
endfunction()

# A source tree that was unpacked inside another project's repository does not have that project's commit.
ask_git(top rev-parse --show-toplevel)
file(REAL_PATH "${PROJECT_SOURCE_DIR}" source)
if(top STREQUAL source)
  ask_git(commit rev-parse --verify HEAD)
  if(commit)
    string(SUBSTRING "${commit}" 0 12 BRENNIK_COMMIT)
  endif()
  # Both change with a commit; the second one also when the branch stays.
  foreach(name HEAD logs/HEAD)
    ask_git(file rev-parse --path-format=absolute --git-path ${name})
    if(file AND EXISTS "${file}")
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    endif()
  endforeach()
endif()

# An unchanged file is not written again, so that nothing is compiled without need.
configure_file(main/build.h.in generated/build.h @ONLY)
