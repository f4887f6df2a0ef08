# SPDX-License-Identifier: Apache-2.0
# Where a program looks for the library: seen from its own folder, so that the build tree and an installation can be moved.
# The path is the same in both. One that is replaced on installing is filled up with empty entries in the build tree, and an
# empty entry is the working directory: whoever may write there could have a library of his own loaded.
file(RELATIVE_PATH to_libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH $ORIGIN/../lib $ORIGIN/${to_libraries})
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)
# Libraries that were found outside of the system's folders are found there again.
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)
