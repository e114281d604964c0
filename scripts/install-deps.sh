#!/usr/bin/env bash
# Installs the Debian packages that building and testing Tessaron need, when missing.
# Runs apt-get as root, or through sudo otherwise. Safe to run again.
#   scripts/install-deps.sh            what the Linux build and its tests need
#   scripts/install-deps.sh --windows  what the Windows cross build and its tests need
#   scripts/install-deps.sh --coverage what the Linux build needs, and gcovr (make coverage)
set -euo pipefail

packages=(
    cmake g++ make          # the build
    libgtest-dev libgmock-dev   # core tests
    clang-format            # code style
    util-linux              # mount/umount (disk-full, mount-point tests), setpriv (permission tests)
    time                    # /usr/bin/time -v for the benchmark's memory figures
    rsync                   # the benchmark's peer
    python3                 # runs the benchmark harness (bench/run)
    clang-14 libfuzzer-14-dev   # the fuzz targets (make fuzz, make fuzz-smoke)
    locales                 # de_DE.UTF-8 for the tests of dates and numbers in the user's locale
    libssl-dev              # TLS for the mail (STARTTLS, TLS), from OpenSSL 3
    libsecret-1-dev         # the mail password in the Secret Service (headers; loaded at run time)
    pkg-config              # finds libsecret's headers
    qt6-base-dev            # the window front end (Qt 6 Widgets)
    xvfb xauth xdotool      # the window's system test and screenshots under a virtual display
    x11-apps                # xwd: the window system test's screenshot
    dpkg-dev file           # the Debian package: dpkg-shlibdeps finds its library dependencies
    desktop-file-utils      # desktop-file-validate checks the menu entries
    librsvg2-bin            # rsvg-convert renders the icon (scripts/make-icons.sh)
)
if [[ ${1:-} == --coverage ]]; then
    packages+=(gcovr)       # reads the counters of a --coverage build (make coverage)
fi
if [[ ${1:-} == --windows ]]; then
    packages=(
        cmake make
        g++-mingw-w64-x86-64-posix  # the Windows cross compiler (posix threads: std::mutex)
        googletest                  # GoogleTest sources, built with the cross compiler
        wine wine64                 # runs the Windows tests
        xvfb xauth xdotool x11-apps # the native window's tests: a virtual display, finding
                                    # the window by its caption, xwd for its screenshot
        fp-utils                    # chmcmd compiles the help file tessaron.chm
        nsis                        # makensis builds the installer
    )
fi

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
SUDO=""
if [[ $(id -u) -ne 0 ]]; then
    SUDO="sudo"
fi
if ((${#missing[@]} > 0)); then
    echo "Installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# A German locale for the locale tests (they skip, saying so, when it is missing).
if [[ ${1:-} != --windows ]] && ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
    echo "Generating the locale de_DE.UTF-8"
    $SUDO localedef -i de_DE -c -f UTF-8 -A /usr/share/locale/locale.alias de_DE.UTF-8 ||
        echo "warning: de_DE.UTF-8 could not be generated; the locale tests will be skipped" >&2
fi
