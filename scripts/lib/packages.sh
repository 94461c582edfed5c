# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Debian packages that the scripts need, in sets, and how they are installed. To be sourced.

packages_of() {
    case $1 in
    build) echo g++ cmake ninja-build pkg-config ;;
    play)
        packages_of build
        echo libcli11-dev libssl-dev nlohmann-json3-dev libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev libfontconfig-dev
        echo gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav
        echo gstreamer1.0-x gstreamer1.0-alsa gstreamer1.0-pulseaudio libexif-dev fonts-dejavu-core
        ;;
    demo) echo gstreamer1.0-tools ;;
    test)
        packages_of play
        echo googletest libbenchmark-dev libgstrtspserver-1.0-dev libpng-dev ffmpeg libimage-exiftool-perl openssl
        packages_of abi
        ;;
    abi)
        packages_of build
        echo abigail-tools
        ;;
    package) echo dpkg-dev lintian debootstrap ;;
    arm) echo g++-arm-linux-gnueabihf qemu-user ;;
    fuzz) echo clang libclang-rt-14-dev libglib2.0-dev libexif-dev libssl-dev nlohmann-json3-dev ;;
    tidy) echo clang-tidy clang-format doxygen git ;;
    *)
        echo "no package set is called $1" >&2
        return 1
        ;;
    esac
}

is_installed() {
    # One line for each architecture that it is known of.
    dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# Runs apt-get as root, without ever asking a question that nobody can answer.
apt_get() {
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        [ -t 0 ] || as_root+=(-n)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y -o DPkg::Lock::Timeout=300 \
        -o Dpkg::Use-Pty=0 "$@" >&2
}

# ensure_packages SET...: installs what is missing of the sets.
ensure_packages() {
    local set package missing=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "This is no Debian system: nothing is installed. Needed are (Debian's names):" >&2
        for set in "$@"; do packages_of "$set" >&2; done
        return 0
    fi
    for package in $(for set in "$@"; do packages_of "$set"; done | tr ' ' '\n' | sort -u); do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    echo "Installing ${missing[*]}" >&2
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        echo "Neither root nor sudo is at hand. As root, run: apt-get install ${missing[*]}" >&2
        return 1
    fi
    # The lists of packages may be missing or too old: fetch them when it does not work without.
    apt_get install --no-install-recommends "${missing[@]}" 2>/dev/null ||
        { apt_get update && apt_get install --no-install-recommends "${missing[@]}"; } || {
        echo "They could not be installed. As root, run: apt-get update && apt-get install ${missing[*]}" >&2
        return 1
    }
}
