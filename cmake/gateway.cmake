# The gateway: 32-bit ARM with hardware floating point, glibc, the libraries of this machine's
# Debian release. scripts/gateway-sysroot makes the folder with their headers, if it is missing.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH gateway_source)
set(CMAKE_SYSROOT "${gateway_source}/build/gateway-sysroot")
get_property(probing GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT probing) # both are quick when there is nothing to do
  execute_process(COMMAND "${gateway_source}/scripts/install" cross COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${gateway_source}/scripts/gateway-sysroot" COMMAND_ERROR_IS_FATAL ANY)
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc) # of libcurl
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER) # tools are this machine's
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
