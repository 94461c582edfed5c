# SPDX-License-Identifier: Apache-2.0
# Settings that every target shares.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(ORVANE_CCACHE ccache)
if(ORVANE_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${ORVANE_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER "${ORVANE_CCACHE}")
endif()

find_package(Threads REQUIRED)

# Flags for our own code only: what is built from other people's sources keeps its own.
add_library(orvane_flags INTERFACE)
target_compile_options(
  orvane_flags
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Werror
            -Wshadow
            -Wformat=2
            -Wold-style-cast
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wcast-align
            -Wnull-dereference
            -Wimplicit-fallthrough)

if(ORVANE_SANITIZE)
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
endif()
