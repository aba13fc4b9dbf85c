# The libraries the daemon is linked with, as mfgp::NAME. CMAKE_PREFIX_PATH and a cross file's root
# are searched as usual.

function(mfgp_library name header)
  cmake_parse_arguments(ARG "" "" "LIBS;SUFFIXES" ${ARGN})
  find_path(${name}_INCLUDE_DIR ${header} PATH_SUFFIXES ${ARG_SUFFIXES})
  find_library(${name}_LIBRARY NAMES ${ARG_LIBS})
  mark_as_advanced(${name}_INCLUDE_DIR ${name}_LIBRARY)
  if(${name}_INCLUDE_DIR AND ${name}_LIBRARY)
    add_library(mfgp::${name} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(mfgp::${name} PROPERTIES
      IMPORTED_LOCATION ${${name}_LIBRARY}
      INTERFACE_INCLUDE_DIRECTORIES ${${name}_INCLUDE_DIR})
    message(STATUS "${name}: ${${name}_LIBRARY}")
  endif()
endfunction()

option(MFGPD_STATIC_NETTLE "Link the two algorithms of Nettle in, instead of its library" OFF)
if(MFGPD_STATIC_NETTLE)
  mfgp_library(nettle nettle/des.h LIBS libnettle.a)
else()
  mfgp_library(nettle nettle/des.h LIBS nettle)
endif()
mfgp_library(lua lua.h LIBS lua5.1 lua51 lua SUFFIXES lua5.1 lua51)
mfgp_library(json json-c/json.h LIBS json-c)
mfgp_library(uci uci.h LIBS uci)
foreach(name nettle lua json)
  if(NOT TARGET mfgp::${name})
    message(FATAL_ERROR "${name} is missing. On Debian: "
      "apt install nettle-dev liblua5.1-0-dev libjson-c-dev")
  endif()
endforeach()
option(MFGPD_UCI_STANDIN "Without libuci, take the simulated unit's stand-in" ON)
if(NOT TARGET mfgp::uci AND NOT MFGPD_UCI_STANDIN)
  message(FATAL_ERROR "uci is missing")
elseif(NOT TARGET mfgp::uci)
  # Every OpenWrt image has libuci; development machines mostly do not.
  message(STATUS "uci: the simulated unit's stand-in (the real library was not found)")
  add_subdirectory(${CMAKE_SOURCE_DIR}/simunit/uci)
  add_library(mfgp::uci ALIAS uci_standin)
endif()
