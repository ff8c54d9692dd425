#!/usr/bin/env bash
# Writes the README's first ```cpp block to DIR/example.cc and its first ```python block to
# DIR/example.py, so that the examples users copy are the ones CI runs.
# Usage: readme_examples.sh README DIR
set -euo pipefail
mkdir -p "$2"
extract() {
  awk -v fence="\`\`\`$1" '
    $0 == fence && !done { inside = 1; next }
    inside && $0 == "```" { inside = 0; done = 1; next }
    inside { print }' "$2"
}
extract cpp "$1" >"$2/example.cc"
extract python "$1" >"$2/example.py"
[ -s "$2/example.cc" ] && [ -s "$2/example.py" ] || { echo "README: no cpp or python example" >&2; exit 1; }
