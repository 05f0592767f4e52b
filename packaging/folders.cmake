# Runs after cpack has installed and before it packs. cpack makes folders with modes that depend on the umask.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}"
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
