set(architecture mips)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
