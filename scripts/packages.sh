# shellcheck shell=bash

# install_packages NAME...: installs the Debian packages that are missing, as root or with sudo. If none is
# missing, it needs neither rights nor a network.
install_packages() {
  if ! command -v dpkg-query >/dev/null; then
    echo "this is not Debian: assuming that the equivalents of these packages are installed: $*"
    return
  fi
  local missing=() package
  for package in "$@"; do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
      missing+=("$package")
  done
  if [[ ${#missing[@]} -eq 0 ]]; then
    echo "all $# packages are installed"
    return
  fi
  echo "installing ${missing[*]}"
  local as_root=()
  [[ $EUID -eq 0 ]] || as_root=(sudo)
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" </dev/null
}

# The packages that the library and the command are built with.
build_packages=(cmake ninja-build g++ libasio-dev libcli11-dev libcpp-httplib-dev libfmt-dev libssl-dev nlohmann-json3-dev pkg-config \
  zlib1g-dev)

# Node.js, with which the viewer is built. Debian's packages conflict with a Node.js from elsewhere.
node_packages=()
command -v npm >/dev/null || node_packages=(nodejs npm)
