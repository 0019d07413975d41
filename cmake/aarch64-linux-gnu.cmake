# Cross build for the phone's architecture with Debian's aarch64-linux-gnu toolchain. The arm64
# builds of our dependencies live in a private sysroot (scripts/arm64-sysroot fills it on first
# use), never in the system: Debian cannot install android-libselinux for two architectures at
# once. Test programs run under qemu-aarch64 through the cross-compiling emulator, so ctest and
# test discovery work as on the host, with no binfmt registration.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The cross toolchain's own C and C++ runtime.
set(ORBA_ARM64_RUNTIME /usr/aarch64-linux-gnu)
if(NOT ORBA_ARM64_SYSROOT)
  set(ORBA_ARM64_SYSROOT ${CMAKE_BINARY_DIR}/sysroot)
endif()
# try_compile projects read this file again, with a binary directory of their own.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORBA_ARM64_SYSROOT)

if(NOT EXISTS ${ORBA_ARM64_SYSROOT}/.complete)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/arm64-sysroot ${ORBA_ARM64_SYSROOT}
                  RESULT_VARIABLE _orba_sysroot_rc)
  if(NOT _orba_sysroot_rc EQUAL 0)
    message(FATAL_ERROR "No arm64 sysroot in ${ORBA_ARM64_SYSROOT} (see scripts/arm64-sysroot)")
  endif()
endif()

set(CMAKE_FIND_ROOT_PATH ${ORBA_ARM64_SYSROOT} ${ORBA_ARM64_RUNTIME})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Headers found by find_path/find_package come with their directories; these two are implied by
# a real arm64 system (OpenSSL's configuration header sits in the multiarch directory).
set(_orba_includes ${ORBA_ARM64_SYSROOT}/usr/include/aarch64-linux-gnu
    ${ORBA_ARM64_SYSROOT}/usr/include)
set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES ${_orba_includes})
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${_orba_includes})

# Where the sysroot's libraries find each other, at link time and under the emulator.
set(ORBA_ARM64_LIBDIRS
  ${ORBA_ARM64_SYSROOT}/usr/lib/aarch64-linux-gnu/android
  ${ORBA_ARM64_SYSROOT}/usr/lib/aarch64-linux-gnu
  ${ORBA_ARM64_SYSROOT}/lib/aarch64-linux-gnu)
foreach(_dir IN LISTS ORBA_ARM64_LIBDIRS)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${_dir}")
  string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -Wl,-rpath-link,${_dir}")
endforeach()

# -cpu max: the Armv8 SHA-2 instructions, so the digest code's accelerated path runs too.
find_program(ORBA_QEMU_AARCH64 qemu-aarch64 REQUIRED)
list(JOIN ORBA_ARM64_LIBDIRS ":" _orba_libpath)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ORBA_QEMU_AARCH64} -cpu max -L ${ORBA_ARM64_RUNTIME}
    -E LD_LIBRARY_PATH=${_orba_libpath})
