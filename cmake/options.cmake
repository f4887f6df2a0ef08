# SPDX-License-Identifier: Apache-2.0
option(MERCATO_TESTS "Build the tests" ON)
option(MERCATO_POSTGRES "Stores on PostgreSQL, where its client library is installed" ON)
option(MERCATO_ODBC "Stores behind ODBC, such as SQL Server, where its driver manager is installed" ON)
option(MERCATO_CONSOLE "The console in the browser, where Node is installed" ON)
option(MERCATO_HOST "`mercato serve`, where the libraries that it needs are installed" ON)
option(MERCATO_BENCHMARKS "Build the benchmarks" OFF)
option(MERCATO_FUZZERS "Build the fuzz targets (clang only)" OFF)
option(MERCATO_PRECOMPILE "Precompile the headers that nearly every source includes" OFF)
option(MERCATO_UNITY "Compile several sources as one: quick from scratch, slow after a change" OFF)
option(MERCATO_WERROR "Let warnings of the compiler be errors" OFF)
set(MERCATO_SANITIZE "" CACHE STRING "Sanitizers for everything, such as address,undefined or thread")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wconversion -Wsign-conversion)
if(MERCATO_WERROR)
  add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)  # false alarms of GCC 12 in std::string
endif()
if(MERCATO_SANITIZE)
  add_compile_options(-fsanitize=${MERCATO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # toml++ marks a place as unreachable that letters of a bare key reach.
  add_compile_options(-fno-sanitize=unreachable)
  add_link_options(-fsanitize=${MERCATO_SANITIZE})
endif()

# Dozens of programs for tests are linked in a fraction of the time. What ships is linked by the compiler's own linker.
find_program(MERCATO_MOLD mold)
if(MERCATO_MOLD AND NOT CMAKE_BUILD_TYPE STREQUAL "Release")
  add_link_options(-fuse-ld=mold)
endif()

find_program(MERCATO_CCACHE ccache)
if(MERCATO_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${MERCATO_CCACHE})
  # A precompiled header out of the cache was made from a file of another time.
  if(MERCATO_PRECOMPILE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
  endif()
endif()
