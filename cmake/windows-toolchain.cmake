# Builds for 64-bit Windows with Debian's cross compiler. The libraries of Windows are looked for in the folders of
# CMAKE_PREFIX_PATH and of the compiler, never among this machine's own.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# The executables stand alone: no library of the compiler lies beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

set(CMAKE_FIND_ROOT_PATH /usr/${triple} ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config, too, sees the prefixes only.
set(folders "")
foreach(prefix IN LISTS CMAKE_PREFIX_PATH)
  list(APPEND folders "${prefix}/lib/pkgconfig")
endforeach()
list(JOIN folders ":" folders)
set(ENV{PKG_CONFIG_LIBDIR} "${folders}")
set(ENV{PKG_CONFIG_PATH} "")
# Archives need what they stand on as well.
set(PKG_CONFIG_ARGN --static)
