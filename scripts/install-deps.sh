#!/usr/bin/env bash
# Installs the Debian packages that building and testing Tessaron need, when missing.
# Runs apt-get as root, or through sudo otherwise. Safe to run again.
set -euo pipefail

packages=(
    cmake g++ make          # the build
    libgtest-dev libgmock-dev   # core tests
    clang-format            # code style
    util-linux              # mount/umount (disk-full, mount-point tests), setpriv (permission tests)
    time                    # /usr/bin/time -v for the benchmark's memory figures
    rsync                   # the benchmark's peer
    python3                 # runs the benchmark harness (bench/run)
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

SUDO=""
if [[ $(id -u) -ne 0 ]]; then
    SUDO="sudo"
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
