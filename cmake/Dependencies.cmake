# Debian ships the Android platform libraries outside the default search path. A cross build
# finds both directories under its sysroot (CMAKE_FIND_ROOT_PATH).
find_path(ORBA_ANDROID_INCDIR log/log.h PATHS /usr/include/android NO_DEFAULT_PATH REQUIRED)
find_path(ORBA_ANDROID_LIBDIR liblog.so PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android
          NO_DEFAULT_PATH REQUIRED)

function(orba_android_lib name)
  find_library(ORBA_${name}_LIB NAMES ${name} PATHS ${ORBA_ANDROID_LIBDIR} NO_DEFAULT_PATH REQUIRED)
  add_library(android::${name} SHARED IMPORTED GLOBAL)
  set_target_properties(android::${name} PROPERTIES
    IMPORTED_LOCATION ${ORBA_${name}_LIB}
    INTERFACE_INCLUDE_DIRECTORIES ${ORBA_ANDROID_INCDIR})
endfunction()

orba_android_lib(log)
orba_android_lib(cutils)
orba_android_lib(base)
orba_android_lib(selinux)

set(CMAKE_BUILD_RPATH ${CMAKE_BINARY_DIR}/lib ${ORBA_ANDROID_LIBDIR})

find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
if(ORBA_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(ORBA_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
