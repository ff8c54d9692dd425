#!/usr/bin/env bash
# Sets up, builds the orvel program and runs it over the documents in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target orvel >/dev/null
orvel=build/release/tools/orvel/orvel

cd examples
echo "== SHA-1 and MD5 of every example"
"../$orvel" sha1 *
"../$orvel" md5 *
echo "== CRC-32 of the text, folded to upper case without accents"
"../$orvel" crc32 --utf16 --fold upper-umlauts *.txt *.md
echo "== the opening of the German declaration of human rights, folded to plain ASCII"
head -n 3 udhr-de.txt | "../$orvel" fold ascii
echo "== a line escaped for a JSON string, and back"
head -n 1 notes.md | "../$orvel" json escape
echo
head -n 1 notes.md | "../$orvel" json escape | "../$orvel" json unescape
