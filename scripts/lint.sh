#!/usr/bin/env bash
# clang-tidy over the sources of the libraries and programs, or only over those whose path from the
# root begins with one of the arguments: lint.sh data engine/supervised
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Public headers include the standard library and each other, nothing else.
if grep -rnE '^ *# *include +(<[^>]*[./]|")' include | grep -vE 'include +["<]Veltrix/'; then
    echo "lint.sh: a public header includes something foreign" >&2
    exit 1
fi

step "configure release" cmake --preset release
folders=("$@")
[[ $# -gt 0 ]] || folders=(support data evaluator engine exports tools examples)

present=()
for folder in "${folders[@]}"; do
    [[ -e $folder ]] && present+=("$folder")
done
find "${present[@]}" -type f -name '*.cpp' -print0 |
    xargs -0 -r -n 1 -P "$jobs" clang-tidy-14 --quiet -p build/release \
        --extra-arg=-Wno-unknown-warning-option
