# All compiler flags. Every target of this project links `brennik_compile`.

set(BRENNIK_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")
define_property(TARGET PROPERTY BRENNIK_SANITIZE INITIALIZE_FROM_VARIABLE BRENNIK_SANITIZE)
option(BRENNIK_COVERAGE "Instrument for gcov" OFF)

add_library(brennik_compile INTERFACE)
target_compile_features(brennik_compile INTERFACE cxx_std_20)
target_include_directories(brennik_compile INTERFACE "${PROJECT_SOURCE_DIR}/src")
target_compile_definitions(brennik_compile INTERFACE
  _FILE_OFFSET_BITS=64   # large files, on 32 bits too
  _TIME_BITS=64)         # the gateway outlives January 2038
target_compile_options(brennik_compile INTERFACE
  -Wall -Wextra -Wpedantic
  -Werror
  -Wshadow               # a hidden name is easily misread
  -Wconversion           # a cast shows where a value is cut on purpose
  -Wsign-conversion
  -Wformat=2             # the log API is printf-style: its formats are checked
  -Wold-style-cast
  -Wnon-virtual-dtor
  -Woverloaded-virtual
  -Wnull-dereference
  -Wmissing-declarations # a function is in a header or in an unnamed name space
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/src/=" # assertion texts name packfile/…, not a build path
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(brennik_compile INTERFACE
    -Wcast-align=strict    # ARM needs aligned pointers
    -Wlogical-op -Wduplicated-cond -Wduplicated-branches
    -Wno-restrict)         # GCC 12 warns of overlaps in "text" + std::string that do not exist (its bug 105651)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  target_compile_options(brennik_compile INTERFACE
    -Wno-psabi)            # GCC 7 changed how some classes are passed; one compiler builds everything here
endif()
target_link_libraries(brennik_compile INTERFACE Threads::Threads)

# Release builds are small and hardened.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
  target_compile_definitions(brennik_compile INTERFACE
    _FORTIFY_SOURCE=2)     # a copy past a known end ends the process
  target_compile_options(brennik_compile INTERFACE
    -fPIE
    -fstack-protector-strong
    -ffunction-sections -fdata-sections) # the linker leaves out what nobody calls
  target_link_options(brennik_compile INTERFACE
    -pie -Wl,-z,relro,-z,now # random addresses, read-only jump tables
    -Wl,--gc-sections -Wl,--as-needed)
endif()

if(BRENNIK_SANITIZE)
  # A report still has line numbers.
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
  target_compile_options(brennik_compile INTERFACE
    # A directory may use fewer sanitizers.
    "-fsanitize=$<TARGET_PROPERTY:BRENNIK_SANITIZE>" -fno-sanitize-recover=all -fno-omit-frame-pointer
    -Wno-null-dereference) # GCC 12 warns of its own instrumentation
  target_link_options(brennik_compile INTERFACE "-fsanitize=${BRENNIK_SANITIZE}")
endif()
if(BRENNIK_FUZZ)
  target_compile_options(brennik_compile INTERFACE "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/ignored.txt")
endif()
if(BRENNIK_COVERAGE)
  target_compile_options(brennik_compile INTERFACE --coverage)
  target_link_options(brennik_compile INTERFACE --coverage)
endif()

# A whole build takes half of the time if files are compiled in groups of eight. The build after a change takes longer.
# What ships is compiled file by file.
option(BRENNIK_JOIN "Compile the files of a folder in groups, for a quick whole build" OFF)
macro(brennik_may_join)
  if(BRENNIK_JOIN)
    set(CMAKE_UNITY_BUILD ON)
    add_compile_options("$<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>") # GCC takes the files of a group for headers
  endif()
endmacro()
macro(brennik_may_join_unless_shipped)
  if(NOT CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
    brennik_may_join()
  endif()
endmacro()

# The compiler cache is used if it is installed. CMake must have looked at the compiler before: with a base folder
# the cache makes paths relative, also those of the compiler's own include folders.
find_program(BRENNIK_CCACHE ccache DOC "The compiler cache, or OFF")
if(BRENNIK_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}"     # another clone hits the same entries
    CCACHE_SLOPPINESS=pch_defines,time_macros      # for precompiled headers
    "${BRENNIK_CCACHE}")
endif()
