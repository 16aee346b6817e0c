#!/usr/bin/env bash
# Builds the fuzzers with clang and runs each for some seconds: fuzz.sh [SECONDS], 30 unless given.
# An input that breaks a property stays in build/fuzz under the fuzzer's name.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
seconds=${1:-30}

build fuzz

run_fuzzer() {
    local name=$1 seconds=$2
    mkdir -p "build/fuzz/corpus/$name"
    build/fuzz/bin/"$name" -max_total_time="$seconds" -max_len=4096 -rss_limit_mb=4096 \
        -artifact_prefix="build/fuzz/$name-" -print_final_stats=1 \
        "build/fuzz/corpus/$name" "tests/fuzz/seeds/$name" >"build/fuzz/$name.log" 2>&1 && return
    tail -n 40 "build/fuzz/$name.log"
    return 1
}
export -f run_fuzzer

names=()
for source in tests/fuzz/*.cpp; do
    names+=("$(basename "$source" .cpp)")
done
export OPENBLAS_NUM_THREADS=1
step "fuzz ${names[*]}, $seconds s each" \
    xargs -P "$jobs" -I NAME bash -c 'run_fuzzer NAME '"$seconds" < <(printf '%s\n' "${names[@]}")
