#!/usr/bin/env bash
# Formats the sources in place; with --check only tells what would change and fails if anything.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
--check) mode=(--dry-run -Werror --ferror-limit=1) ;;
"") mode=(-i) ;;
*)
    echo "format.sh: unknown option $1; expected --check" >&2
    exit 2
    ;;
esac

find . -path ./build -prune -o -path ./.git -prune -o \
    -type f \( -name '*.h' -o -name '*.cpp' \) -print0 |
    xargs -0 -r -n 16 -P "$jobs" clang-format-14 "${mode[@]}"
