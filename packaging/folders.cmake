# Runs between cpack's installing and its packing: folders that it made have the umask's modes.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}"
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
