#!/usr/bin/env bash
# Builds everything optimised and runs the whole test suite.
# VELTRIX_BLAS=MKL or OpenBLAS in the environment chooses the linear algebra back end.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

step "packages" scripts/bootstrap.sh
build release
run_tests release
