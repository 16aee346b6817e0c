#!/usr/bin/env bash
# The rules of inclusion, then clang-tidy over the sources of the libraries and programs, or only over
# those whose path from the root begins with one of the arguments: lint.sh data engine/supervised
#
# A source that was found clean is not looked at again until it, a header that it includes (as the
# release build has it), the checks or the linter change.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/layers.sh
step "configure release" cmake --preset release
folders=("$@")
[[ $# -gt 0 ]] || folders=(support data evaluator engine bigdata exports tools examples)

export clean="${XDG_CACHE_HOME:-$HOME/.cache}/veltrix-lint"
mkdir -p "$clean"
export common dependencies
common=$(clang-tidy-14 --version | sha256sum; sha256sum .clang-tidy)
dependencies=$(mktemp)
trap 'rm -f "$dependencies"' EXIT
# One line for each source that was built: the files of the project that it depends on, itself first.
ninja -C build/release -t deps 2>/dev/null |
    awk -v root="$PWD/" '
        /^[^ ].*: #deps/ { if (line != "") print line; line = "" }
        /^ / { file = $1
               if (index(file, root) == 1) file = substr(file, length(root) + 1)
               else if (index(file, "../../") == 1) file = substr(file, 7)
               else next
               if (file !~ /^build\//) line = line (line == "" ? "" : " ") file }
        END { if (line != "") print line }' >"$dependencies"

lint() {
    local source=$1 files key=''
    files=$(awk -v source="$source" '$1 == source { print; exit }' "$dependencies")
    if [[ -n $files ]]; then
        # shellcheck disable=SC2086
        key=$(printf '%s' "$common" | cat - $files | sha256sum | cut -d' ' -f1)
        [[ -e $clean/$key ]] && return
    fi
    clang-tidy-14 --quiet -p build/release --extra-arg=-Wno-unknown-warning-option "$source" ||
        return 1
    [[ -z $key ]] || touch "$clean/$key"
}
export -f lint

present=()
for folder in "${folders[@]}"; do
    [[ -e $folder ]] && present+=("$folder")
done
find "${present[@]}" -type f -name '*.cpp' -print0 |
    xargs -0 -r -I SOURCE -P "$jobs" bash -c 'lint SOURCE'
