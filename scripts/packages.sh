# Sourced by the scripts at the top: the Debian packages that they need.

# need_packages NAME…: installs those that are missing; says so, and nothing otherwise.
need_packages() {
  local name missing=() root=()
  for name in "$@"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null)" != installed ]; then
      missing+=("$name")
    fi
  done
  [ "${#missing[@]}" -eq 0 ] && return 0
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  echo "Installing Debian packages: ${missing[*]}"
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What a release build with its tools needs.
build_packages=(cmake g++ make libcli11-dev gnuplot-nox hostname)
