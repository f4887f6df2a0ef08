# SPDX-License-Identifier: Apache-2.0
# What makes an attack on the shipped programs and on the library harder. Sanitizers bring checks of their own.
if(MERCATO_SANITIZE)
  # A program that may lie anywhere in memory would relocate millions of the sanitizers' records at each start.
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
else()
  include(CheckPIESupported)
  check_pie_supported()
  # Optimised builds only: others are not shipped, and the checked functions of the C library need the optimiser.
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${optimised}:-fstack-protector-strong> $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=3>)
  add_link_options(LINKER:-z,relro,-z,now)
endif()
