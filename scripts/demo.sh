#!/usr/bin/env bash
# Sets up, builds the orvel program and runs its main job, a search of the documents in
# examples/, then a few of its other commands.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target orvel >/dev/null
orvel=build/release/tools/orvel/orvel

echo "== orvel search 'dignity OR Würde OR dignité' examples"
"$orvel" search --snippet-chars 100 'dignity OR Würde OR dignité' examples
echo "== orvel search -l 'freedom NEAR/4 expression' examples"
"$orvel" search -l 'freedom NEAR/4 expression' examples
echo "== orvel search --wildcard --json 'caf* -kahvehane' examples/notes"
"$orvel" search --wildcard --json 'caf* -kahvehane' examples/notes
echo "== orvel query --format tree '\"human rights\" (liberté OR libertad) -esclavage'"
"$orvel" query --format tree '"human rights" (liberté OR libertad) -esclavage'
echo "== orvel count examples/udhr/de.txt"
"$orvel" count examples/udhr/de.txt
echo "== orvel sha1 examples/udhr/*.txt (first three)"
"$orvel" sha1 examples/udhr/de.txt examples/udhr/el.txt examples/udhr/ru.txt
