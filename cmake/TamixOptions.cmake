# Options of the build, and what every target is compiled with.

option(TAMIX_WERROR "Treat warnings as errors" OFF)
option(TAMIX_PRECOMPILE_HEADERS "Compile common headers once: faster, but a file may then miss an include of its own" OFF)
set(TAMIX_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

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
if(NOT TAMIX_HIGHWAY_INCLUDE_DIR)
  # Header-only: the host's copy serves a cross build too.
  find_path(TAMIX_HIGHWAY_INCLUDE_DIR hwy/highway.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
endif()
if(NOT TAMIX_HIGHWAY_INCLUDE_DIR)
  message(FATAL_ERROR "Google Highway is needed to build: apt-get install libhwy-dev")
endif()

# Highway as headers only: one vector target, the compiler's, and no debug assertions, which would need its library.
add_library(tamix_highway INTERFACE)
target_include_directories(tamix_highway SYSTEM INTERFACE ${TAMIX_HIGHWAY_INCLUDE_DIR})
target_compile_definitions(tamix_highway INTERFACE HWY_COMPILE_ONLY_STATIC HWY_IS_DEBUG_BUILD=0)

if(CMAKE_CROSSCOMPILING)
  set(tamix_top_level_native OFF)
else()
  set(tamix_top_level_native ${PROJECT_IS_TOP_LEVEL})
endif()

find_path(TAMIX_CLI11_INCLUDE_DIR CLI/CLI.hpp)
find_path(TAMIX_TURBOJPEG_INCLUDE_DIR turbojpeg.h)
find_library(TAMIX_TURBOJPEG_LIBRARY turbojpeg)
find_package(PNG QUIET)
if(tamix_top_level_native AND TAMIX_CLI11_INCLUDE_DIR AND PNG_FOUND AND TAMIX_TURBOJPEG_INCLUDE_DIR AND TAMIX_TURBOJPEG_LIBRARY)
  set(tamix_tool_default ON)
else()
  set(tamix_tool_default OFF)
endif()
option(TAMIX_BUILD_TOOL "Build the tamix command-line tool (needs CLI11, libpng, TurboJPEG)" ${tamix_tool_default})

if(PROJECT_IS_TOP_LEVEL AND EXISTS /usr/src/googletest/CMakeLists.txt)
  set(tamix_tests_default ON)
else()
  set(tamix_tests_default OFF)
endif()
option(TAMIX_BUILD_TESTS "Build the tests (needs the googletest sources)" ${tamix_tests_default})

find_package(benchmark QUIET)
if(tamix_top_level_native AND benchmark_FOUND)
  set(tamix_bench_default ON)
else()
  set(tamix_bench_default OFF)
endif()
option(TAMIX_BUILD_BENCHMARKS "Build the benchmarks (needs Google Benchmark)" ${tamix_bench_default})

# What everything is compiled with.
add_library(tamix_build_flags INTERFACE)
target_compile_features(tamix_build_flags INTERFACE cxx_std_20 c_std_99)
target_compile_options(tamix_build_flags INTERFACE
  $<$<NOT:$<BOOL:${ANDROID}>>:-pthread>
  -Wall -Wextra -Wconversion
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # GCC 12 warns of sums of strings that cannot overlap
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
endif()
