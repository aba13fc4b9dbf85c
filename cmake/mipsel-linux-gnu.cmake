set(architecture mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
