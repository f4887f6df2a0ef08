# SPDX-License-Identifier: Apache-2.0
# Sourced by ./run, ./test, .ci/run and tests/long/run: the packages that the build needs, and the build itself.

mercato_packages=(
  ca-certificates cmake g++ ninja-build pkg-config python3 zlib1g-dev
  libarchive-dev libbenchmark-dev libboost1.81-dev libcli11-dev libcurl4-openssl-dev libedit-dev libfmt-dev libgtest-dev libicu-dev libpq-dev
  libpugixml-dev libsodium-dev libspdlog-dev libsqlite3-dev libssl-dev libtomlplusplus-dev libxml2-dev libzip-dev nlohmann-json3-dev
  unixodbc-dev
)

# What builds the console, in the presets that have it: Node, of whatever source it is.
console_packages=()
command -v node >/dev/null && command -v npm >/dev/null || console_packages=(nodejs npm)

# Installs the packages that are missing; asks for nothing when there are none.
install_packages() {
  local missing=() package
  for package in "${mercato_packages[@]}" "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing: ${missing[*]}"
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  "${as_root[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Configures a preset and builds it, or the named targets of it. Only what goes wrong is shown, and progress on a terminal.
#   build_preset PRESET [TARGET...]
build_preset() {
  local preset=$1 targets=() log
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  log=$(mktemp)
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log"; rm -f "$log"; return 1; }
  if [ -t 1 ]; then
    cmake --build --preset "$preset" "${targets[@]}" || return 1
  else
    cmake --build --preset "$preset" "${targets[@]}" >"$log" 2>&1 || { cat "$log"; rm -f "$log"; return 1; }
  fi
  rm -f "$log"
}
