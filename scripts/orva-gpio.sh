#!/usr/bin/env bash
# Builds orva-gpio (release preset) if needed and runs it with the given arguments, e.g.
#   scripts/orva-gpio.sh --board 0xA533 led front set 40
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target orva-gpio >/dev/null
exec build/release/tools/orva-gpio "$@"
