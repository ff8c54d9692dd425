#!/usr/bin/env bash
# Writes the README's first ```cpp block to DIR/example.cc, its first ```python block to
# DIR/example.py and its first cpp block inside a list item (fenced two spaces in) to
# DIR/example_find.cc, so that the examples users copy are the ones CI runs.
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
extract "cpp" <(sed -n 's/^  //p' "$1") >"$2/example_find.cc"
[ -s "$2/example.cc" ] && [ -s "$2/example.py" ] && [ -s "$2/example_find.cc" ] ||
  { echo "README: no cpp, python or list-item cpp example" >&2; exit 1; }
