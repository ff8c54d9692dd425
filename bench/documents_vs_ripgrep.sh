#!/usr/bin/env bash
# `orvel search -l WORD` over 10,000 small Markdown files against `rg -l -i -w WORD` over
# the same files (files per second; ripgrep reads them as plain text), and over 1,000
# TextPacks, which ripgrep cannot read (reported apart). Each Markdown file is a paragraph
# of one of the example declarations under a heading; each pack holds a TextBundle whose
# text is such a file. Built once in /tmp. Usage: bench/documents_vs_ripgrep.sh [ORVEL]
set -euo pipefail
cd "$(dirname "$0")/.."
orvel=${1:-build/release/tools/orvel/orvel}
corpus=${ORVEL_DOCUMENTS_CORPUS:-/tmp/orvel-documents-corpus}
runs=${ORVEL_SEARCH_RUNS:-5}

if [ ! -f "$corpus/.complete" ]; then
  rm -rf "$corpus"
  mkdir -p "$corpus/markdown" "$corpus/packs"
  /usr/bin/python3 - "$corpus" examples/udhr/*.txt <<'PYTHON'
import os, sys, zipfile
corpus, sources = sys.argv[1], sys.argv[2:]
paragraphs = []
for source in sources:
    if source.endswith("LICENSE.txt"):
        continue
    with open(source, encoding="utf-8") as text:
        paragraphs += [line.strip() for line in text if len(line.split()) >= 8]
for k in range(10000):
    folder = os.path.join(corpus, "markdown", "part%02d" % (k // 500))
    os.makedirs(folder, exist_ok=True)
    body = "# Note %d\n\n%s\n\n%s\n" % (k, paragraphs[k % len(paragraphs)],
                                        paragraphs[(k * 7 + 3) % len(paragraphs)])
    with open(os.path.join(folder, "note%05d.md" % k), "w", encoding="utf-8") as out:
        out.write(body)
for k in range(1000):
    folder = os.path.join(corpus, "packs", "part%d" % (k // 250))
    os.makedirs(folder, exist_ok=True)
    body = "# Pack %d\n\n%s\n" % (k, paragraphs[(k * 13 + 5) % len(paragraphs)])
    with zipfile.ZipFile(os.path.join(folder, "pack%04d.textpack" % k), "w",
                         zipfile.ZIP_DEFLATED) as pack:
        pack.writestr("Pack%04d.textbundle/text.md" % k, body)
        pack.writestr("Pack%04d.textbundle/info.json" % k, '{"version": 2}')
PYTHON
  touch "$corpus/.complete"
fi

source bench/best_time.sh

word=rights
ours=$(best_time "$orvel" search -l "$word" "$corpus/markdown")
theirs=$(best_time rg -l -i -w "$word" "$corpus/markdown")
found_ours=$("$orvel" search -l "$word" "$corpus/markdown" | wc -l)
found_theirs=$(rg -l -i -w "$word" "$corpus/markdown" | wc -l)
awk -v a="$ours" -v b="$theirs" -v fo="$found_ours" -v ft="$found_theirs" 'BEGIN {
  printf "RATE orvel search -l over 10,000 Markdown files: %.0f files/s (%.3f s, %d found)\n", 10000 / (a / 1e6), a / 1e6, fo
  printf "RATE rg -l -i -w over the same files: %.0f files/s (%.3f s, %d found)\n", 10000 / (b / 1e6), b / 1e6, ft
  printf "RATIO orvel vs rg: %.2fx ripgrep'"'"'s time\n", a / b }'
packs=$(best_time "$orvel" search -l "$word" "$corpus/packs")
found_packs=$("$orvel" search -l "$word" "$corpus/packs" | wc -l)
awk -v a="$packs" -v f="$found_packs" 'BEGIN {
  printf "RATE orvel search -l over 1,000 TextPacks: %.0f files/s (%.3f s, %d found; ripgrep cannot read them)\n", 1000 / (a / 1e6), a / 1e6, f }'
