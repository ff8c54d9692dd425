#!/usr/bin/env bash
# orvel search against ripgrep and ugrep, every query shape, on one corpus of real text in
# one run. The corpus (built once, ORVEL_GREP_CORPUS, default /tmp/orvel-grep-corpus) is the
# reStructuredText sources of Debian's python3.11-doc copied 27 times and the declarations
# of ../shared/testdata (or examples/udhr) copied 100 times: about 330 MB in about 15,500
# files of realistic sizes, English and 20 other languages, with a rare word planted in 3.
#
# Rows: a frequent word, a word in about half the files, a rare word, a word that never
# occurs, words with letters outside ASCII (one in the French declarations, one in no file),
# a two-word phrase (against `rg/ugrep -i -w`), and `a AND b -c`, `a OR b OR c`,
# `a NEAR/5 b` (against `ugrep --bool --files`, which has no proximity: NEAR is its AND);
# each with -l, with -c and with full output, on one thread and on all cores, warm cache,
# the tools interleaved. Then the frequent word's full output with --color always and with
# --vimgrep against ripgrep's, and the cost of honouring ignore files on this tree, which
# has none (orvel against orvel --no-ignore, target 1.05). Prints the best of $ORVEL_SEARCH_RUNS (default 3) times, the ratio
# to the faster peer, and peak memory (GNU time's maximum resident set).
# Usage: bench/search_vs_grep_tools.sh [ORVEL]  (ORVEL_SEARCH_ROWS: a regex of the rows to run)
set -euo pipefail
cd "$(dirname "$0")/.."
orvel=$(realpath "${1:-build/release/tools/orvel/orvel}")
corpus=${ORVEL_GREP_CORPUS:-/tmp/orvel-grep-corpus}
runs=${ORVEL_SEARCH_RUNS:-3}
cores=$(nproc)

declarations=examples/udhr
[ -d ../shared/testdata/lang/udhr ] && declarations=../shared/testdata/lang/udhr
if [ ! -f "$corpus/.complete" ]; then
  rm -rf "$corpus"
  /usr/bin/python3 bench/copy_corpus.py "$corpus" /usr/share/doc/python3.11/html/_sources 27 docs \
    "$declarations" 100 udhr
  touch "$corpus/.complete"
fi
files=$(find "$corpus" -type f -name '*.txt' | wc -l)
megabytes=$(du -sm --apparent-size "$corpus" | cut -f1)
echo "corpus: $corpus, $files files, $megabytes MB; $cores cores; best of $runs runs"

# The best wall-clock time (us) and the peak memory (KB) of a command. Its output goes
# through a pipe, as a user's would: writing straight to /dev/null lets grep tools stop at
# the first match.
memory_file=$(mktemp)
trap 'rm -f "$memory_file"' EXIT
measure() {
  local best="" peak=0 start end elapsed memory
  { "$@" 2>/dev/null | cat >/dev/null; } || true
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    { /usr/bin/time -f '%M' -o "$memory_file" "$@" 2>/dev/null | cat >/dev/null; } || true
    end=$(date +%s%N)
    memory=$(tail -n 1 "$memory_file")
    elapsed=$(((end - start) / 1000))
    if [ -z "$best" ] || [ "$elapsed" -lt "$best" ]; then best=$elapsed; fi
    [ "${memory:-0}" -gt "$peak" ] && peak=$memory
  done
  echo "$best $peak"
}

printf '%-34s %-5s %-3s %9s %8s %8s %7s %8s %8s %s\n' query mode j orvel rg ugrep ratio \
  "mem(MB)" "rg(MB)" verdict
status=0
# Prints a row: orvel's time against the peer's (the faster of rg and ugrep, or the time
# compared with) and its target ratio, and memory against ripgrep's (at most twice).
verdict() {  # verdict LABEL MODE THREADS OURS RG UGREP PEER TARGET OURS_MEM RG_MEM
  local label=$1 mode=$2 threads=$3 ours=$4 rg_time=$5 ug_time=$6 peer=$7 target=$8
  local ours_mem=$9 rg_mem=${10}
  awk -v l="$label" -v m="$mode" -v j="$threads" -v a="$ours" -v r="$rg_time" -v u="$ug_time" \
    -v p="$peer" -v t="$target" -v om="$ours_mem" -v rm="$rg_mem" 'BEGIN {
    ratio = a / p; mem_ok = (rm == 0 || om <= 2 * rm)
    printf "%-34s %-5s %-3s %8.3fs %8s %8s %6.2fx %8.1f %8.1f %s\n", l, m, j, a / 1e6,
      (r == "-" ? "-" : sprintf("%.3fs", r / 1e6)), (u == "-" ? "-" : sprintf("%.3fs", u / 1e6)),
      ratio, om / 1024, rm / 1024,
      (ratio <= t && mem_ok) ? "ok" : (ratio <= t ? "MEMORY" : "MISSED (target " t "x)") }'
  awk -v a="$ours" -v p="$peer" -v t="$target" -v om="$ours_mem" -v rm="$rg_mem" \
    'BEGIN { exit (a / p <= t && (rm == 0 || om <= 2 * rm)) ? 0 : 1 }' || status=1
}
row() {  # row LABEL KIND ORVEL-QUERY RG-PATTERN UGREP-BOOL-QUERY
  local label=$1 kind=$2 query=$3 pattern=$4 bool=$5
  [[ "$label" =~ ${ORVEL_SEARCH_ROWS:-.} ]] || return 0
  for mode in -l -c full; do
    local flag=()
    [ "$mode" != full ] && flag=("$mode")
    for threads in 1 "$cores"; do
      read -r ours ours_mem < <(measure "$orvel" search "${flag[@]}" -j "$threads" -- "$query" "$corpus")
      local rg_time=- rg_mem=0 ug_time ug_mem peer target
      if [ "$kind" = words ]; then
        read -r rg_time rg_mem < <(measure rg "${flag[@]}" -j "$threads" -i -w -- "$pattern" "$corpus")
        read -r ug_time ug_mem < <(measure ugrep -r "${flag[@]}" -J "$threads" -i -w -- "$pattern" "$corpus")
        peer=$((rg_time < ug_time ? rg_time : ug_time))
        target=1.0
      else
        read -r ug_time ug_mem < <(measure ugrep -r --bool --files "${flag[@]}" -J "$threads" -i -w -- "$bool" "$corpus")
        peer=$ug_time
        target=0.8
        read -r rg_time rg_mem < <(measure rg "${flag[@]}" -j "$threads" -i -w -- "$pattern" "$corpus")
      fi
      verdict "$label" "$mode" "$threads" "$ours" "$rg_time" "$ug_time" "$peer" "$target" \
        "$ours_mem" "$rg_mem"
    done
  done
}

row "frequent word: the" words the the ""
row "half the files: import" words import import ""
row "rare word: quixotically" words quixotically quixotically ""
row "never: zyzzogeton" words zyzzogeton zyzzogeton ""
row "accented, in 100 files: société" words société société ""
row "accented, never: größe" words größe größe ""
row "phrase: \"for example\"" words '"for example"' 'for\s+example' ""
row "function AND return -deprecated" bool 'function AND return -deprecated' 'function|return' 'function return -deprecated'
row "asyncio OR socket OR thread" bool 'asyncio OR socket OR thread' 'asyncio|socket|thread' 'asyncio|socket|thread'
row "file NEAR/5 open" bool 'file NEAR/5 open' 'file|open' 'file open'

# The frequent word's full output for a terminal and for an editor, against ripgrep's own
# (rg --vimgrep writes a line per match, orvel a line per snippet).
styled_row() {  # styled_row LABEL OPTION...
  local label=$1
  shift
  [[ "$label" =~ ${ORVEL_SEARCH_ROWS:-.} ]] || return 0
  for threads in 1 "$cores"; do
    read -r ours ours_mem < <(measure "$orvel" search "$@" -j "$threads" -- the "$corpus")
    read -r rg_time rg_mem < <(measure rg "$@" -j "$threads" -i -w -- the "$corpus")
    verdict "$label" full "$threads" "$ours" "$rg_time" - "$rg_time" 1.0 "$ours_mem" "$rg_mem"
  done
}
styled_row "the --color always" --color always
styled_row "the --vimgrep" --vimgrep

# What honouring ignore files costs on a tree that has none: orvel against itself with
# --no-ignore (target: at most 5 % slower).
if [[ "ignore files" =~ ${ORVEL_SEARCH_ROWS:-.} ]]; then
  for threads in 1 "$cores"; do
    read -r ours ours_mem < <(measure "$orvel" search -l -j "$threads" -- the "$corpus")
    read -r bare bare_mem < <(measure "$orvel" search -l --no-ignore -j "$threads" -- the "$corpus")
    verdict "ignore files vs --no-ignore" -l "$threads" "$ours" - - "$bare" 1.05 "$ours_mem" 0
  done
fi
exit $status
