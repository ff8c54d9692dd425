#!/usr/bin/env bash
# The collection search through the library and through Python, against `orvel search` on the
# same corpus (bench/search_vs_grep_tools.sh builds it), -l and -c, one thread and all cores:
# each must take at most 1.1x the program's time. The C++ peer is bench/library_search
# (a process, as the program is); Python's time is measured inside the interpreter, from the
# call of orvel.search to its last result, its output written as the program writes it.
# Prints the best of $ORVEL_SEARCH_RUNS (default 5) times and the ratios.
# Usage: bench/search_library_vs_program.sh [BUILD-DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/release}")
orvel="$build/tools/orvel/orvel"
library="$build/bench/library_search"
corpus=${ORVEL_GREP_CORPUS:-/tmp/orvel-grep-corpus}
runs=${ORVEL_SEARCH_RUNS:-5}
cores=$(nproc)
[ -f "$corpus/.complete" ] || { echo "no corpus at $corpus: run bench/search_vs_grep_tools.sh first" >&2; exit 1; }

best() {  # best COMMAND...: the best wall-clock time in seconds, output through a pipe
  local best="" start end
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    "$@" | cat > /dev/null
    end=$(date +%s%N)
    if [ -z "$best" ] || [ $((end - start)) -lt "$best" ]; then best=$((end - start)); fi
  done
  echo "$best" | awk '{ printf "%.4f", $1 / 1e9 }'
}

python_best() {  # python_best MODE THREADS QUERY
  PYTHONPATH="$build/python/package" /usr/bin/python3 - "$@" "$corpus" "$runs" <<'PYTHON'
import sys, time
import orvel
mode, threads, query, corpus, runs = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4], int(sys.argv[5])
want = "files" if mode == "-l" else "counts"
out = sys.stdout.buffer
best = None
for _ in range(runs):
    start = time.perf_counter()
    for result in orvel.search(query, corpus, want=want, threads=threads):
        if result.status == "matched":
            out.write(result.path_bytes + (b"\n" if want == "files" else b":%d\n" % result.count))
    out.flush()
    elapsed = time.perf_counter() - start
    best = elapsed if best is None else min(best, elapsed)
print(f"{best:.4f}", file=sys.stderr)
PYTHON
}

status=0
printf '%-28s %-3s %-2s %9s %9s %9s %7s %7s %s\n' query mode j program library python lib/prog py/prog verdict
for query in the quixotically 'asyncio OR socket OR thread' société; do
  for mode in -l -c; do
    for threads in 1 "$cores"; do
      ours=$(best "$orvel" search --no-progress "$mode" -j "$threads" -- "$query" "$corpus")
      lib=$(best "$library" "$mode" "$threads" "$query" "$corpus")
      py=$(python_best "$mode" "$threads" "$query" 2>&1 >/dev/null | tail -n 1)
      verdict=$(awk -v o="$ours" -v l="$lib" -v p="$py" 'BEGIN {
        printf "%6.2fx %6.2fx %s", l / o, p / o, (l / o <= 1.1 && p / o <= 1.1) ? "ok" : "MISSED (target 1.1x)" }')
      printf '%-28s %-3s %-2s %8.3fs %8.3fs %8.3fs %s\n' "$query" "$mode" "$threads" "$ours" "$lib" "$py" "$verdict"
      [[ "$verdict" == *ok ]] || status=1
    done
  done
done
exit $status
