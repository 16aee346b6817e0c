#!/usr/bin/env bash
# Builds the command-line program and fits a linear regression to the bundled Longley data.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

step "packages" scripts/bootstrap.sh
build release veltrix
build/release/bin/veltrix regress --data examples/data/longley.csv --target Employed
