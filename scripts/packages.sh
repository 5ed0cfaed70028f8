# shellcheck shell=bash disable=SC2034
# Debian packages by purpose; sourced by the other scripts.
library_packages=(g++ cmake make ninja-build libhwy-dev)
tool_packages=("${library_packages[@]}" libcli11-dev libpng-dev libturbojpeg0-dev)
test_packages=("${tool_packages[@]}" googletest pkg-config binutils abigail-tools zip unzip python3-numpy python3-pytest mypy)
aarch64_packages=("${test_packages[@]}" g++-aarch64-linux-gnu qemu-user)
clang_packages=(clang clang-format libclang-rt-14-dev)
sanitize_packages=(valgrind libc++-16-dev libc++abi-16-dev)
bench_packages=("${library_packages[@]}" libbenchmark-dev)
demo_packages=("${tool_packages[@]}" ffmpeg)
aar_packages=(zip)
fresh_root_packages=(debootstrap git)
gallery_packages=("${tool_packages[@]}" python3-numpy python3-matplotlib)
coverage_packages=("${aarch64_packages[@]}" clang libclang-rt-14-dev llvm)
