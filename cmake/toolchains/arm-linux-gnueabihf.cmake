# Cross build for arm-linux-gnueabihf with Debian's cross compiler and multiarch -dev packages;
# binaries built here run under qemu-arm (see scripts/cross-check.sh).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(EZOSSL_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/multiarch.cmake)
