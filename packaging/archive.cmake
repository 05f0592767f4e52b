# Runs after cpack's packing: the archive that is the package has its members' modes from the umask.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(members "${CPACK_TEMPORARY_DIRECTORY}/members")
  file(REMOVE_RECURSE "${members}")
  file(MAKE_DIRECTORY "${members}")
  execute_process(COMMAND "${CPACK_BRENNIK_AR}" x "${package}"
    WORKING_DIRECTORY "${members}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${package}")
  # In this order; D: modes, owners and times that are nobody's; S: no table of symbols.
  execute_process(COMMAND "${CPACK_BRENNIK_AR}" rcDS "${package}" debian-binary control.tar.gz data.tar.gz
    WORKING_DIRECTORY "${members}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
