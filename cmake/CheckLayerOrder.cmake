# Keeps the layers of the core library pointing down only:
#   interfaces -> reports -> archive -> measuring -> storage -> values -> support
# A file under one layer may include headers of its own layer and of the layers
# below it, never of one above. Only the platform layer (support) calls the
# operating system, so no other layer's code includes its headers.
#
# Run as a script: cmake -DROOT=<folder holding tarnovelle/> -P CheckLayerOrder.cmake
# It prints every offending include and fails when there is one.
if(NOT ROOT)
  message(FATAL_ERROR "ROOT is not set")
endif()

set(layers support values storage measuring archive reports interfaces)
set(system_headers "fcntl\\.h|unistd\\.h|sys/[a-z_]+\\.h|dirent\\.h")

file(GLOB_RECURSE files RELATIVE ${ROOT}/tarnovelle
     ${ROOT}/tarnovelle/*.h ${ROOT}/tarnovelle/*.cpp)
set(violations 0)
foreach(f IN LISTS files)
  string(REGEX MATCH "^[^/]+" layer "${f}")
  list(FIND layers "${layer}" rank)
  if(rank LESS 0)
    continue()  # the Qt views sit on top of everything
  endif()
  file(STRINGS ${ROOT}/tarnovelle/${f} includes REGEX "^[ \t]*#[ \t]*include")
  foreach(line IN LISTS includes)
    if(line MATCHES "\"tarnovelle/([^/\"]+)/")
      list(FIND layers "${CMAKE_MATCH_1}" target)
      if(target GREATER rank)
        message("tarnovelle/${f}: ${layer} reaches up to ${CMAKE_MATCH_1}: ${line}")
        math(EXPR violations "${violations} + 1")
      endif()
    elseif(NOT layer STREQUAL "support" AND NOT f MATCHES "_test\\.cpp$"
           AND line MATCHES "<(${system_headers})>")
      message("tarnovelle/${f}: only the platform layer calls the operating system: ${line}")
      math(EXPR violations "${violations} + 1")
    endif()
  endforeach()
endforeach()

list(LENGTH files count)
if(violations GREATER 0)
  message(FATAL_ERROR "${violations} include(s) against the layer order")
endif()
message("layer order kept by all ${count} files")
