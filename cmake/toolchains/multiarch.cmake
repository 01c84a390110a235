# Shared part of the cross toolchains: compilers named by EZOSSL_TRIPLET, libraries and package
# files from Debian's multiarch directories, executables run through qemu-user.
set(CMAKE_C_COMPILER ${EZOSSL_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${EZOSSL_TRIPLET}-g++)
# Multiarch keeps the target's libraries and CMake packages under /usr/lib/<triplet>.
set(CMAKE_LIBRARY_ARCHITECTURE ${EZOSSL_TRIPLET})
set(CMAKE_FIND_ROOT_PATH /usr/${EZOSSL_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${EZOSSL_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
# qemu-user has no binfmt registration in containers: tests name the emulator explicitly.
string(REGEX REPLACE "-.*" "" ezossl_qemu_arch ${EZOSSL_TRIPLET})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${ezossl_qemu_arch} -L /usr/${EZOSSL_TRIPLET})
# GCC notes on armhf that an ABI detail changed in GCC 7.1; everything here is built by one compiler.
if(EZOSSL_TRIPLET MATCHES "^arm-")
  set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
endif()
