#!/usr/bin/env bash
# `orvel search -l WORD` against `rg -l -i -w WORD` on the same corpus of 200+ MB of text
# files, for a frequent and a rare word (target: at most twice ripgrep's time), and the
# throughput of a Boolean and a NEAR/5 query. The corpus is built once from the example
# documents and, when present, the shared test texts: 2,100 files of about 100 KB, each
# the English declaration followed by five others in turn; three files also hold a rare
# word. Usage: bench/search_vs_ripgrep.sh [ORVEL]   (default: build/release/tools/orvel/orvel)
set -euo pipefail
cd "$(dirname "$0")/.."
orvel=${1:-build/release/tools/orvel/orvel}
corpus=${ORVEL_SEARCH_CORPUS:-/tmp/orvel-search-corpus}
runs=${ORVEL_SEARCH_RUNS:-5}

sources=(examples/udhr/*.txt)
[ -d ../shared/testdata/lang/udhr ] && sources=(../shared/testdata/lang/udhr/*.txt)
english=examples/udhr/en.txt

if [ ! -f "$corpus/.complete" ]; then
  rm -rf "$corpus"
  mkdir -p "$corpus"
  count=${#sources[@]}
  for i in $(seq 0 2099); do
    folder="$corpus/part$((i / 100))"
    mkdir -p "$folder"
    {
      for copy in 1 2 3; do
        cat "$english"
        for k in 0 1 2 3 4; do cat "${sources[$(((i + k) % count))]}"; done
      done
      case $i in 17 | 1024 | 2099) echo "A quixotically rare word." ;; esac
    } > "$folder/doc$i.txt"
  done
  touch "$corpus/.complete"
fi
megabytes=$(du -sm "$corpus" | cut -f1)
echo "corpus: $corpus, $(find "$corpus" -name '*.txt' | wc -l) files, $megabytes MB"

source bench/best_time.sh

seconds() { awk -v us="$1" 'BEGIN { printf "%.3f", us / 1e6 }'; }
status=0
compare() {
  local label=$1 word=$2 ours theirs
  ours=$(best_time "$orvel" search -l "$word" "$corpus")
  theirs=$(best_time rg -l -i -w "$word" "$corpus")
  local files_ours files_theirs
  files_ours=$("$orvel" search -l "$word" "$corpus" | wc -l)
  files_theirs=$(rg -l -i -w "$word" "$corpus" | wc -l)
  awk -v a="$ours" -v b="$theirs" -v l="$label" -v w="$word" -v fo="$files_ours" -v ft="$files_theirs" 'BEGIN {
    r = a / b; printf "RATIO orvel vs rg, %s word \"%s\" (%d vs %d files): %.3f s vs %.3f s = %.2fx ripgrep'"'"'s time (target <= 2.00x) %s\n",
      l, w, fo, ft, a / 1e6, b / 1e6, r, (r <= 2.0 ? "ok" : "MISSED") }'
  awk -v a="$ours" -v b="$theirs" 'BEGIN { exit (a / b <= 2.0 ? 0 : 1) }' || status=1
}
compare frequent rights
compare rare quixotically

for query in 'human AND (rights OR freedom) -slavery' 'dignity NEAR/5 rights'; do
  elapsed=$(best_time "$orvel" search -c "$query" "$corpus")
  awk -v us="$elapsed" -v mb="$megabytes" -v q="$query" 'BEGIN {
    printf "RATE orvel search -c \"%s\": %.0f MB/s (%.3f s)\n", q, mb / (us / 1e6), us / 1e6 }'
done
exit $status
