# Sourced by the other scripts: installs with apt-get the Debian 12 packages
# that building and testing volp need, when they are missing.

VOLP_PACKAGES=(cmake ninja-build g++ libssl-dev libabsl-dev libgtest-dev libbenchmark-dev
  libcli11-dev zlib1g-dev time openssl pkg-config dpkg-dev file python3-jsonschema)

volp_install_missing() {
  local missing=() p
  for p in "${VOLP_PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$p")
    fi
  done
  if [ "${#missing[@]}" -eq 0 ]; then
    return 0
  fi
  local sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
      sudo=(sudo)
    else
      echo "volp: these packages are missing and installing them needs root: ${missing[*]}" >&2
      return 1
    fi
  fi
  echo "volp: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  if [ -z "${VOLP_APT_UPDATED:-}" ]; then
    "${sudo[@]}" apt-get update -q
  fi
  "${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
}
