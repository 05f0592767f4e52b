# What cpack's environment needs, set up as cpack starts.

# One commit makes one package, whenever it is built: files in it carry the commit's time.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C "${CPACK_BRENNIK_SOURCE}" log -1 --format=%ct
    OUTPUT_VARIABLE commit_time RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT status EQUAL 0) # unpacked sources without their history
    execute_process(COMMAND dpkg-parsechangelog -l "${CPACK_BRENNIK_SOURCE}/packaging/debian/changelog" -S Timestamp
      OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} "${commit_time}")
endif()

# Without dpkg-shlibdeps cpack would leave the dependencies out, and say so in passing.
find_program(SHLIBDEPS_EXECUTABLE dpkg-shlibdeps)
if(NOT SHLIBDEPS_EXECUTABLE)
  message(FATAL_ERROR "dpkg-shlibdeps is missing: scripts/install package")
endif()
if(CPACK_BRENNIK_SYSROOT)
  if(NOT EXISTS "${CPACK_BRENNIK_SYSROOT}/DEBIAN/symbols")
    message(FATAL_ERROR "${CPACK_BRENNIK_SYSROOT} does not know its libraries' versions: scripts/gateway-sysroot")
  endif()
  set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
endif()
