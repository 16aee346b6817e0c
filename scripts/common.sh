# Sourced by the other scripts: strict mode, the project's root as working directory, quiet steps.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
jobs=$(nproc)

# step LABEL COMMAND...: runs a command quietly; its output is shown only when it fails.
step() {
    local label=$1 log started=$SECONDS
    shift
    log=$(mktemp)
    if "$@" >"$log" 2>&1; then
        rm -f "$log"
        echo "== $label: done ($((SECONDS - started)) s)"
    else
        cat "$log"
        rm -f "$log"
        echo "== $label: FAILED: $*" >&2
        return 1
    fi
}

# build PRESET [TARGET...]: configures a preset and builds it, or only the named targets of it.
build() {
    local preset=$1
    shift
    step "configure $preset" cmake --preset "$preset" ${VELTRIX_BLAS:+-DVELTRIX_BLAS="$VELTRIX_BLAS"}
    step "build $preset${*:+ ($*)}" cmake --build --preset "$preset" -j "$jobs" ${*:+--target "$@"}
}

# run_tests PRESET [OPTION...]: the suite, or what the options of ctest leave of it; the full log on
# failure, the summary lines always.
run_tests() {
    local preset=$1 log
    shift
    log=$(mktemp)
    if ctest --preset "$preset" -j "$jobs" "$@" >"$log" 2>&1; then
        grep -E 'tests passed|Total Test time' "$log"
        rm -f "$log"
    else
        cat "$log"
        rm -f "$log"
        return 1
    fi
}
