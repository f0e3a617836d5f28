#!/usr/bin/env bash
# Builds and runs the whole test suite from a fresh clone, installing what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release
cmake --build --preset release
ctest --preset release
