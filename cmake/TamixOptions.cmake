# Options of the build, and what every target is compiled with.

option(TAMIX_WERROR "Treat warnings as errors" OFF)
option(TAMIX_PRECOMPILE_HEADERS "Compile common headers once: faster, but a file may then miss an include of its own" OFF)
set(TAMIX_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")
set(TAMIX_COVERAGE "" CACHE FILEPATH "Clang's profile library, to count executed lines and branches (scripts/coverage.sh)")

# The vector target: this machine's on a native build, the architecture's baseline on a cross build. AES stands for the
# Highway targets that name it; no instruction of it is generated on its own.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  set(tamix_default_march armv8-a+crypto)
elseif(CMAKE_CROSSCOMPILING)
  set(tamix_default_march x86-64-v2)
else()
  set(tamix_default_march native)
endif()
set(TAMIX_MARCH ${tamix_default_march} CACHE STRING "Value of -march, the vector width of the library")

find_path(TAMIX_HIGHWAY_INCLUDE_DIR hwy/highway.h)
set(tamix_highway_dir ${TAMIX_HIGHWAY_INCLUDE_DIR})
if(CMAKE_CROSSCOMPILING AND NOT TAMIX_HIGHWAY_INCLUDE_DIR)
  # Header-only: the host's copy serves a cross build too, but without the host's C headers beside it.
  find_path(TAMIX_HOST_HIGHWAY_INCLUDE_DIR hwy/highway.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
  set(tamix_highway_dir ${PROJECT_BINARY_DIR}/highway)
  file(MAKE_DIRECTORY ${tamix_highway_dir})
  file(CREATE_LINK ${TAMIX_HOST_HIGHWAY_INCLUDE_DIR}/hwy ${tamix_highway_dir}/hwy SYMBOLIC)
endif()
if(NOT EXISTS ${tamix_highway_dir}/hwy/highway.h)
  message(FATAL_ERROR "Google Highway is needed to build: apt-get install libhwy-dev")
endif()

# Highway as headers only: one vector target, the compiler's, and no debug assertions, which would need its library.
add_library(tamix_highway INTERFACE)
target_include_directories(tamix_highway SYSTEM INTERFACE ${tamix_highway_dir})
target_compile_definitions(tamix_highway INTERFACE HWY_COMPILE_ONLY_STATIC HWY_IS_DEBUG_BUILD=0)

# tamix_switch(NAME CONDITION...): NAME as set by hand, otherwise whether the condition holds now. The answer is not cached,
# so that a folder configured before a package was installed is not stuck with it.
macro(tamix_switch name)
  if(NOT DEFINED ${name})
    if(${ARGN})
      set(${name} ON)
    else()
      set(${name} OFF)
    endif()
  endif()
endmacro()

find_path(TAMIX_CLI11_INCLUDE_DIR CLI/CLI.hpp)
find_path(TAMIX_TURBOJPEG_INCLUDE_DIR turbojpeg.h)
find_library(TAMIX_TURBOJPEG_LIBRARY turbojpeg)
find_package(PNG QUIET)
find_package(benchmark QUIET)

# The command-line tool, the tests and the benchmarks are built where what they need is installed.
tamix_switch(TAMIX_BUILD_TOOL PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING
  AND TAMIX_CLI11_INCLUDE_DIR AND PNG_FOUND AND TAMIX_TURBOJPEG_INCLUDE_DIR AND TAMIX_TURBOJPEG_LIBRARY)
tamix_switch(TAMIX_BUILD_TESTS PROJECT_IS_TOP_LEVEL AND EXISTS /usr/src/googletest/CMakeLists.txt)
tamix_switch(TAMIX_BUILD_BENCHMARKS PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING AND benchmark_FOUND)
tamix_switch(TAMIX_INSTALL PROJECT_IS_TOP_LEVEL)

# The same program from every folder: not even its build ID depends on the path to the library.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# What everything is compiled with.
add_library(tamix_build_flags INTERFACE)
target_compile_features(tamix_build_flags INTERFACE cxx_std_20 c_std_99)
target_compile_options(tamix_build_flags INTERFACE
  $<$<NOT:$<BOOL:${ANDROID}>>:-pthread>
  -Wall -Wextra -Wconversion
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # GCC 12 warns of sums of strings that cannot overlap
  $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi> # and notes what GCC 10 did otherwise
  -ffp-contract=off # both architectures give the same bytes; a fused multiply-add is written where it is wanted
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= # the same binary from every folder
)
if(TAMIX_MARCH)
  target_compile_options(tamix_build_flags INTERFACE -march=${TAMIX_MARCH})
endif()
if(TAMIX_WERROR)
  target_compile_options(tamix_build_flags INTERFACE -Werror)
endif()
if(TAMIX_SANITIZE)
  target_compile_options(tamix_build_flags INTERFACE
    -fsanitize=${TAMIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tamix_build_flags INTERFACE -fsanitize=${TAMIX_SANITIZE})
  if(TAMIX_SANITIZE MATCHES "fuzzer")
    # Inputs are decisions, not magic numbers: recorded comparisons would cost much and find nothing.
    target_compile_options(tamix_build_flags INTERFACE -fno-sanitize-coverage=trace-cmp)
  endif()
endif()
