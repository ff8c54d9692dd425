#!/usr/bin/env bash
# orvel's index against the search engines a user would pick instead, on one corpus in one
# run: recoll (recollindex, recollq), Xapian (omindex, quest) and SQLite FTS5 (the sqlite3
# shell: one row per file, unicode61 with diacritics removed), and against orvel's own scan.
# The corpus (built once, ORVEL_INDEX_CORPUS, default /tmp/orvel-index-corpus) is the
# reStructuredText sources of Debian's python3.11-doc copied 9 times: about 100 MB in about
# 5,200 files, with a rare word planted in 3.
#
# Prints, for each engine: building (seconds, MB of text per CPU second, peak memory, size of
# the index against the text's; orvel's and FTS5's best of $ORVEL_INDEX_RUNS), the no-change update, an update after 1 % of the files were
# rewritten and 1 % deleted (time, and size growth); then each query with -l (paths only),
# whole process, warm cache, best of $ORVEL_INDEX_RUNS (default 3), with orvel's ratio to
# the fastest peer and the scan's ratio to orvel; last, the time to list the tree and to stat
# every file of it, which a search that answers for the tree as it is now cannot go below.
# Usage: bench/index_vs_engines.sh [ORVEL]
set -euo pipefail
cd "$(dirname "$0")/.."
orvel=$(realpath "${1:-build/release/tools/orvel/orvel}")
corpus=${ORVEL_INDEX_CORPUS:-/tmp/orvel-index-corpus}
runs=${ORVEL_INDEX_RUNS:-3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ ! -f "$corpus/.complete" ]; then
  rm -rf "$corpus"
  /usr/bin/python3 bench/copy_corpus.py "$corpus" /usr/share/doc/python3.11/html/_sources 9 docs
  find "$corpus" -type f -exec touch -d '2026-01-01' {} +
  touch "$corpus/.complete"
  # orvel does not trust the times of files changed less than two seconds before it reads them.
  sleep 2.1
fi
files=$(find "$corpus" -type f -name '*.txt' | wc -l)
megabytes=$(du -sm --apparent-size --exclude=.complete "$corpus" | cut -f1)
echo "corpus: $corpus, $files files, $megabytes MB; $(nproc) cores; best of $runs runs"

# Wall time (s), CPU time (s) and peak memory (MB) of one command.
timed() {
  /usr/bin/time -f '%e %U %S %M' -o "$work/time" "$@" >/dev/null 2>&1 || true
  awk '{ printf "%.3f %.3f %.1f\n", $1, $2 + $3, $4 / 1024 }' "$work/time"
}
# The best wall time (s) of a query command, its output through a pipe.
best() {
  local best="" start end elapsed
  { "$@" 2>/dev/null | cat >/dev/null; } || true
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    { "$@" 2>/dev/null | cat >/dev/null; } || true
    end=$(date +%s%N)
    elapsed=$(((end - start) / 1000))
    if [ -z "$best" ] || [ "$elapsed" -lt "$best" ]; then best=$elapsed; fi
  done
  awk -v b="$best" 'BEGIN { printf "%.4f", b / 1e6 }'
}
size_mb() { du -sm --apparent-size "$@" | awk '{ s += $1 } END { print s }'; }

# The engines' indexes, each in its own folder.
oidx="$work/orvel/index"
mkdir -p "$work/orvel" "$work/recoll" "$work/xapian" "$work/one"
cat >"$work/recoll/recoll.conf" <<EOF
topdirs = $corpus
skippedNames = .complete
indexStemmingLanguages =
EOF
build_orvel() { "$orvel" index --index "$oidx" "$corpus"; }
# FTS5 holds the text by the rowid of a table of paths, whose index finds a file's row.
build_fts5() {
  sqlite3 "$work/fts5.db" "create table if not exists files(id integer primary key,
      path text unique);
    create virtual table if not exists docs using fts5(body,
      tokenize = 'unicode61 remove_diacritics 2');
    delete from files; delete from docs;
    insert into files(path) select name from fsdir('$corpus') where name like '%.txt';
    insert into docs(rowid, body) select id, cast(readfile(path) as text) from files;"
}
build_recoll() { recollindex -c "$work/recoll"; }
build_xapian() { omindex --db "$work/xapian/db" --url / "$corpus"; }
# GNU time runs programs: the builders run in a shell of their own.
export orvel oidx corpus work
export -f build_orvel build_fts5 build_recoll build_xapian

echo
printf '%-8s %9s %9s %10s %8s %10s\n' engine build_s MB/cpu_s peak_MB size_MB size/text
# The two builds the target compares (orvel's and FTS5's, about a second each, their CPU
# time varying by a third from run to run on this machine) are each made from nothing
# $runs times, the least time kept, the most memory; the engines taking minutes, once.
best_build() {  # best_build ENGINE: wall cpu peak
  local times=1
  case $1 in orvel | fts5) times=$runs ;; esac
  for _ in $(seq "$times"); do
    case $1 in
      orvel) rm -f "$oidx" "$oidx".* ;;
      fts5) rm -f "$work/fts5.db" ;;
    esac
    timed bash -c "build_$1"
  done | awk 'NR == 1 || $1 < w { w = $1 } NR == 1 || $2 < c { c = $2 } $3 > p { p = $3 }
    END { print w, c, p }'
}
for engine in orvel fts5 recoll xapian; do
  read -r wall cpu peak < <(best_build "$engine")
  case $engine in
    orvel) size=$(size_mb "$work/orvel") ;;
    fts5) size=$(size_mb "$work/fts5.db") ;;  # with the table of paths
    recoll) size=$(size_mb "$work/recoll/xapiandb") ;;
    xapian) size=$(size_mb "$work/xapian/db") ;;
  esac
  awk -v e="$engine" -v w="$wall" -v c="$cpu" -v p="$peak" -v s="$size" -v t="$megabytes" \
    'BEGIN { printf "%-8s %9.2f %9.1f %10.1f %8d %9.0f%%\n", e, w, t / c, p, s, 100 * s / t }'
done

# The corpus repeats itself nine times, which postings without positions store almost for
# free: the size is also measured on one copy alone.
"$orvel" index --index "$work/one/index" "$corpus/docs0" >/dev/null
one_text=$(du -sb --apparent-size "$corpus/docs0" | cut -f1)
one_index=$(du -cb --apparent-size "$work/one/index"* | tail -n 1 | cut -f1)
awk -v i="$one_index" -v t="$one_text" \
  'BEGIN { printf "orvel on one copy (%.1f MB): index %.1f %% of the text\n", t / 1e6, 100 * i / t }'

# Updates: nothing changed, then 1 % of the files rewritten and 1 % deleted.
echo
read -r orvel_same _ _ < <(timed bash -c build_orvel)
read -r xapian_same _ _ < <(timed bash -c build_xapian)
read -r recoll_same _ _ < <(timed bash -c build_recoll)
echo "no-change update: orvel ${orvel_same}s, omindex ${xapian_same}s, recollindex ${recoll_same}s"
before=$(du -sb --apparent-size "$work/orvel" | cut -f1)
mapfile -t changed < <(find "$corpus" -type f -name '*.txt' | sort | awk 'NR % 100 == 1')
mapfile -t deleted < <(find "$corpus" -type f -name '*.txt' | sort | awk 'NR % 100 == 2')
mkdir -p "$work/saved"
for file in "${changed[@]}"; do echo "A rewritten line." >>"$file"; done
for file in "${deleted[@]}"; do mv "$file" "$work/saved/$(echo "$file" | md5sum | cut -c1-16)"; done
# Rewritten just now, the files are not trusted by their times until two seconds have passed.
sleep 2.1
read -r orvel_update _ _ < <(timed bash -c build_orvel)
after=$(du -sb --apparent-size "$work/orvel" | cut -f1)
{
  echo "begin;"
  for file in "${deleted[@]}" "${changed[@]}"; do
    echo "delete from docs where rowid = (select id from files where path = '$file');"
  done
  for file in "${deleted[@]}"; do echo "delete from files where path = '$file';"; done
  for file in "${changed[@]}"; do
    echo "insert into docs(rowid, body) select id, cast(readfile(path) as text) from files" \
      "where path = '$file';"
  done
  echo "commit;"
} >"$work/update.sql"
read -r fts5_update_s _ _ < <(timed bash -c 'sqlite3 "$work/fts5.db" < "$work/update.sql"')
awk -v a="$before" -v b="$after" -v o="$orvel_update" -v f="$fts5_update_s" 'BEGIN {
  printf "1%% rewritten, 1%% deleted: orvel %ss (index %d -> %d bytes, %+.1f %%), FTS5 %ss\n",
    o, a, b, 100 * (b - a) / a, f }'
# Put the corpus back as it was.
for file in "${deleted[@]}"; do mv "$work/saved/$(echo "$file" | md5sum | cut -c1-16)" "$file"; done
for file in "${changed[@]}"; do
  head -c -17 "$file" >"$work/restored" && cat "$work/restored" >"$file" && touch -d '2026-01-01' "$file"
done
timed bash -c build_orvel >/dev/null
timed bash -c build_fts5 >/dev/null
timed bash -c build_recoll >/dev/null
timed bash -c build_xapian >/dev/null

# Queries with -l: orvel's query, FTS5's, recoll's and Xapian's spelling of the same.
echo
printf '%-32s %8s %8s %8s %8s %8s %8s %8s\n' query orvel fts5 recoll xapian scan vs_peer scan_x
query_row() {  # query_row ORVEL FTS5 RECOLL XAPIAN
  local ours fts5 recoll xapian scan
  ours=$(best "$orvel" search -l --index "$oidx" -- "$1" "$corpus")
  fts5=$(best sqlite3 "$work/fts5.db" \
    "select path from files where id in (select rowid from docs where docs match '$2')")
  recoll=$(best recollq -c "$work/recoll" -b -n 0-100000 "$3")
  xapian=$(best quest -d "$work/xapian/db" -m 100000 "$4")
  scan=$(best "$orvel" search -l --no-index -- "$1" "$corpus")
  awk -v q="$1" -v o="$ours" -v f="$fts5" -v r="$recoll" -v x="$xapian" -v s="$scan" 'BEGIN {
    peer = f; if (r < peer) peer = r; if (x < peer) peer = x
    printf "%-32s %7.4fs %7.4fs %7.4fs %7.4fs %7.4fs %7.2fx %7.1fx\n", q, o, f, r, x, s,
      o / peer, s / o }'
}
query_row quixotically quixotically quixotically quixotically
query_row import import import import
query_row zyzzogeton zyzzogeton zyzzogeton zyzzogeton
query_row '"for example"' '"for example"' '"for example"' '"for example"'
query_row 'function AND return -deprecated' 'function AND return NOT deprecated' \
  'function return -deprecated' 'function AND return AND NOT deprecated'
query_row 'asyncio OR socket OR thread' 'asyncio OR socket OR thread' \
  'asyncio OR socket OR thread' 'asyncio OR socket OR thread'
query_row 'file NEAR/5 open' 'NEAR(file open, 5)' '"file open"p' 'file NEAR/5 open'
query_row the the the the

# What any search that answers for the tree as it is now must do first: list every file
# (find, names and types only), and look at each one's times (find -newer: a stat per file).
echo
listing=$(best find "$corpus" -type f)
looking=$(best find "$corpus" -type f -newer "$corpus/.complete")
awk -v l="$listing" -v s="$looking" 'BEGIN {
  printf "the tree alone: listed %.4fs (find -type f), listed and stat-ed %.4fs (find -newer)\n", l, s }'
