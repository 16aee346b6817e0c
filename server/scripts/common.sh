# Sourced by the other scripts: strict mode, this folder as working directory, and what the server
# needs on a machine that has only the base system.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
environment=${VELTRIX_SERVER_VENV:-$PWD/.venv}

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Java and Python from the distribution, where they are missing.
install_packages() {
    local missing=()
    command -v java >/dev/null || missing+=(openjdk-17-jre-headless)
    command -v python3 >/dev/null || missing+=(python3)
    python3 -c 'import ensurepip, venv' 2>/dev/null || missing+=(python3-venv)
    [[ ${#missing[@]} -gt 0 ]] || return 0
    echo "server: installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 \
        install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

make_environment() {
    install_packages
    [[ -x $environment/bin/pip ]] || python3 -m venv "$environment"
}

# Whether packages of Python can be had.
can_install() {
    make_environment && "$environment/bin/pip" install --quiet --disable-pip-version-check \
        --dry-run --ignore-installed --no-deps pytest >/dev/null 2>&1
}

# set_up [EXTRA]: the virtual environment with the package, changed with its sources.
set_up() {
    make_environment
    "$environment/bin/pip" install --quiet --disable-pip-version-check --editable ".${1:+[$1]}"
}

# The command-line client; built when there is none.
find_client() {
    client=${VELTRIX:-$PWD/../build/release/bin/veltrix}
    [[ -x $client ]] || (cd .. && VELTRIX_BLAS=${VELTRIX_BLAS:-OpenBLAS} scripts/demo.sh >/dev/null)
}
