# Runs after cpack has packed. cpack gives the members of the package modes that depend on the umask.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(members "${CPACK_TEMPORARY_DIRECTORY}/members")
  file(REMOVE_RECURSE "${members}")
  file(MAKE_DIRECTORY "${members}")
  execute_process(COMMAND "${CPACK_BRENNIK_AR}" x "${package}"
    WORKING_DIRECTORY "${members}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${package}")
  # The order is fixed. D: no modes, owners and times of this machine. S: no symbol table.
  execute_process(COMMAND "${CPACK_BRENNIK_AR}" rcDS "${package}" debian-binary control.tar.gz data.tar.gz
    WORKING_DIRECTORY "${members}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
