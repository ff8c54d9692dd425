#!/usr/bin/env bash
# Sets up, builds and runs every test: the optimised build (warnings as errors, with the
# benchmarks compiled), the AddressSanitizer + UndefinedBehaviorSanitizer build, and the
# formatting check.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

for preset in release sanitize; do
  echo "== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset tests"
  ctest --preset "$preset"
done

echo "== formatting"
git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror
echo "formatting: clean"
