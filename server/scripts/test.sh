#!/usr/bin/env bash
# Checks the format and runs the tests, those with the command-line client as well.
#   --reachable   run nothing; tell by the exit code whether the packages can be had
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [[ ${1:-} == --reachable ]]; then
    can_install
    exit
fi
set_up test
find_client
"$environment/bin/ruff" format --check --quiet .
"$environment/bin/ruff" check --quiet .
VELTRIX=$client "$environment/bin/pytest" "$@"
