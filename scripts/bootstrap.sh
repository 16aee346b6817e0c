#!/usr/bin/env bash
# Installs the system packages that the build needs and the machine lacks (Debian 12 names).
#   --check      install nothing; tell what is missing and end with 1 if anything is
#   --dev        formatter, linter, clang and Doxygen as well
#   --with-mkl   Intel MKL as well, from the distribution's non-free component
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config
    libopenblas-pthread-dev liblapacke-dev libsleef-dev
    libboost-dev nlohmann-json3-dev libcpprest-dev libssl-dev
    libcli11-dev libcsv-dev libfmt-dev libxlsxwriter-dev zlib1g-dev
    libgtest-dev libgmock-dev libbenchmark-dev libpcre2-dev
)
check=false
mkl=false
for argument in "$@"; do
    case $argument in
    --check) check=true ;;
    --dev) packages+=(clang-14 libclang-rt-14-dev clang-format-14 clang-tidy-14 doxygen) ;;
    --with-mkl) mkl=true && packages+=(libmkl-dev) ;;
    *)
        echo "bootstrap.sh: unknown option $argument; expected --check, --dev or --with-mkl" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [[ $status == "install ok installed" ]] || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
    echo "bootstrap: all packages are installed"
    exit 0
fi
if $check; then
    echo "bootstrap: missing: ${missing[*]}"
    exit 1
fi

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Adds the non-free component to the distribution's sources, in whichever form they are kept.
enable_non_free() {
    local deb822=/etc/apt/sources.list.d/debian.sources classic=/etc/apt/sources.list
    if [[ -f $deb822 ]]; then
        as_root sed -i -E '/^Components:/{/ non-free( |$)/!s/$/ non-free/}' "$deb822"
    fi
    if [[ -f $classic ]]; then
        as_root sed -i -E '/^deb .* main( |$)/{/ non-free( |$)/!s/$/ non-free/}' "$classic"
    fi
}

apt() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 "$@"
}

echo "bootstrap: installing ${missing[*]}"
if $mkl; then
    enable_non_free
fi
apt update -qq
apt install -y -qq --no-install-recommends "${missing[@]}"
