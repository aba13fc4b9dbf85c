# A build for this machine with musl, the C library of routers, and the libraries that scripts/sysroot
# built with it. Debian has no C++ compiler for musl, so clang compiles with libc++'s headers, which
# support musl. The headers declare only POSIX.1-2008. The daemon is linked statically.
set(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-musl)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER clang++)

execute_process(COMMAND gcc -dumpmachine OUTPUT_VARIABLE triple OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND clang++ -print-resource-dir OUTPUT_VARIABLE own
  OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE gnu musl musl_triple ${triple})
set(CMAKE_CXX_FLAGS_INIT "-nostdinc -D_LIBCPP_HAS_MUSL_LIBC -U_GNU_SOURCE -U_DEFAULT_SOURCE")
foreach(folder ${own}/../../../include/c++/v1 /usr/include/${musl_triple} ${own}/include)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${folder}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

list(APPEND CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
