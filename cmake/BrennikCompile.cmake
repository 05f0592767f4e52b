# The one place for compiler flags. Every target of ours links `brennik_compile`.

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
  -Werror                # a warning is a defect that has not been looked at yet
  -Wshadow               # a hidden name is read as the wrong one
  -Wconversion           # values are cut on purpose only, and visibly
  -Wsign-conversion
  -Wformat=2             # the log API is printf-style: its formats are checked
  -Wold-style-cast
  -Wnon-virtual-dtor
  -Woverloaded-virtual
  -Wnull-dereference
  -Wmissing-declarations # what is not in a header belongs in an unnamed namespace
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/src/=" # assertion texts name packfile/…, not a build path
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(brennik_compile INTERFACE
    -Wcast-align=strict    # ARM: no pointer may gain alignment it has not got
    -Wlogical-op -Wduplicated-cond -Wduplicated-branches
    -Wno-restrict)         # GCC 12 sees overlaps in "text" + std::string that are none (its bug 105651)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  target_compile_options(brennik_compile INTERFACE
    -Wno-psabi)            # GCC 7 changed how some classes are passed; all of ours is compiled by GCC 12
endif()
target_link_libraries(brennik_compile INTERFACE Threads::Threads)

# What is shipped is small and hard to break into.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
  target_compile_definitions(brennik_compile INTERFACE
    _FORTIFY_SOURCE=2)     # a copy past a known end ends the process
  target_compile_options(brennik_compile INTERFACE
    -fPIE
    -fstack-protector-strong
    -ffunction-sections -fdata-sections) # what nobody calls is left out at the link
  target_link_options(brennik_compile INTERFACE
    -pie -Wl,-z,relro,-z,now # addresses differ from start to start, jump tables are read-only
    -Wl,--gc-sections -Wl,--as-needed)
endif()

if(BRENNIK_SANITIZE)
  # Fast enough to run, fast to compile, and a report still names its lines.
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
  target_compile_options(brennik_compile INTERFACE
    # A directory may have its files compiled with fewer of them.
    "-fsanitize=$<TARGET_PROPERTY:BRENNIK_SANITIZE>" -fno-sanitize-recover=all -fno-omit-frame-pointer
    -Wno-null-dereference) # GCC 12 warns inside its own instrumentation
  target_link_options(brennik_compile INTERFACE "-fsanitize=${BRENNIK_SANITIZE}")
endif()
if(BRENNIK_FUZZ)
  target_compile_options(brennik_compile INTERFACE "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/ignored.txt")
endif()
if(BRENNIK_COVERAGE)
  target_compile_options(brennik_compile INTERFACE --coverage)
  target_link_options(brennik_compile INTERFACE --coverage)
endif()

# A compiler cache is used where there is one, and never needed. Not before the compiler was looked at:
# told of our folder, the cache makes paths relative, also those that the compiler is asked for.
find_program(BRENNIK_CCACHE ccache DOC "The compiler cache, or OFF")
if(BRENNIK_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}"     # it knows the same source in another clone
    CCACHE_SLOPPINESS=pch_defines,time_macros      # precompiled headers: none of ours depends on either
    "${BRENNIK_CCACHE}")
endif()
