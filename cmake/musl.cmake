# A build for this machine with musl, the routers' C library, and with the libraries that scripts/sysroot
# has made for it. Debian has no C++ compiler for musl: g++ gets musl's headers, and libstdc++'s, which
# are those made for glibc, are told what musl has not. Nothing beyond POSIX.1-2008 is declared. The
# daemon is linked statically.
set(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-musl)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)

macro(ask_compiler variable)
  execute_process(COMMAND g++ ${ARGN} OUTPUT_VARIABLE ${variable} OUTPUT_STRIP_TRAILING_WHITESPACE)
endmacro()
ask_compiler(triple -print-multiarch)
ask_compiler(version -dumpversion)
ask_compiler(own_headers -print-file-name=include)
string(REPLACE gnu musl musl_triple ${triple})
set(CMAKE_CXX_FLAGS_INIT
  "-nostdinc -U_GNU_SOURCE -U_DEFAULT_SOURCE -D_FORTIFY_SOURCE=0")
string(APPEND CMAKE_CXX_FLAGS_INIT " -include ${CMAKE_CURRENT_LIST_DIR}/libstdcxx-with-musl.h")
foreach(folder /usr/include/c++/${version} /usr/include/${triple}/c++/${version}
    /usr/include/${musl_triple} ${own_headers})
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${folder}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

list(APPEND CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
