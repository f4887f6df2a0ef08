# SPDX-License-Identifier: Apache-2.0
# The host over HTTP is left out where a library of it is missing, or where MERCATO_HOST is off.
if(MERCATO_HOST)
  find_package(Boost 1.74 QUIET)
  find_package(OpenSSL QUIET)
  find_package(Threads QUIET)
  pkg_check_modules(SODIUM IMPORTED_TARGET libsodium)
  if(NOT Boost_FOUND OR NOT OPENSSL_FOUND OR NOT SODIUM_FOUND)
    message(STATUS "`mercato serve` is left out: Boost, OpenSSL or libsodium was not found (packages libboost-dev, libssl-dev, libsodium-dev)")
    set(MERCATO_HOST OFF)
  endif()
endif()
