# Cross build for aarch64-linux-gnu with Debian's cross compiler and multiarch -dev packages;
# binaries built here run under qemu-aarch64 (see scripts/cross-check.sh).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(EZOSSL_TRIPLET aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/multiarch.cmake)
