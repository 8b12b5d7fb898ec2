#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks. Safe to run again: nothing
# is fetched when every package is already there.
#
#   scripts/setup.sh          what building the library and zvprint needs
#   scripts/setup.sh --test   also the test, sanitizer and oracle tools
#   scripts/setup.sh --bench  also the side-by-side comparison tools
#
# Runs unattended as root, or as a user with passwordless sudo.
set -euo pipefail

packages=(
  g++ libc6-dev cmake ninja-build pkg-config
  liblzo2-dev libicu-dev libpng-dev libjpeg62-turbo-dev libpixman-1-dev
  nlohmann-json3-dev libsdbus-c++-dev libcli11-dev
)
test_packages=(
  git clang libclang-rt-14-dev clang-format
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-skimage python3-pil python3-numpy
  python3-dbusmock dbus python3-dev pybind11-dev python3-pytest python3-venv
)
bench_packages=(imagemagick hyperfine time python3 python3-pil)

for arg in "$@"; do
  case "$arg" in
    --test) packages+=("${test_packages[@]}") ;;
    --bench) packages+=("${bench_packages[@]}") ;;
    *) echo "setup.sh: unknown option $arg (use --test or --bench)" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "setup.sh: installing ${missing[*]} needs root; run this as root, or install sudo" >&2
    exit 1
  fi
  if ! sudo -n true 2>/dev/null; then
    echo "setup.sh: installing ${missing[*]} needs root; run this as root, or as a user with passwordless sudo" >&2
    exit 1
  fi
  as_root=(sudo -n)
fi

echo "setup.sh: installing ${missing[*]}"
apt_env=(env DEBIAN_FRONTEND=noninteractive NEEDRESTART_MODE=a)
"${as_root[@]}" "${apt_env[@]}" apt-get update -qq
"${as_root[@]}" "${apt_env[@]}" apt-get install -y -qq --no-install-recommends \
  -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null
