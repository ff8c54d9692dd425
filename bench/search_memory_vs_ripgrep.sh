#!/usr/bin/env bash
# Peak memory of orvel search against ripgrep over generated trees of 10,000, 50,000 and
# 100,000 small files (100 folders of 100 to 1,000 files each, a few lines of words): the walk
# streams, so orvel's peak must not grow with the tree (10k and 100k within 1 MB of each
# other) and must stay within 2x ripgrep's. The trees are built once under
# ORVEL_MEMORY_CORPUS (default /tmp/orvel-memory-corpus). Prints, per tree and mode, the peak
# resident set of each (GNU time's maximum) and the ratio.
# Usage: bench/search_memory_vs_ripgrep.sh [ORVEL]
set -euo pipefail
cd "$(dirname "$0")/.."
orvel=$(realpath "${1:-build/release/tools/orvel/orvel}")
root=${ORVEL_MEMORY_CORPUS:-/tmp/orvel-memory-corpus}

make_tree() {  # make_tree FILES FOLDER
  [ -f "$2/.complete" ] && return
  rm -rf "$2"
  /usr/bin/python3 - "$1" "$2" <<'PYTHON'
import pathlib, random, sys
files, folder = int(sys.argv[1]), pathlib.Path(sys.argv[2])
words = "harbour ship quay anchor tide sail rope deck mast hull cargo crew storm".split()
rng = random.Random(files)
per_folder = files // 100
for f in range(files):
    target = folder / f"folder{f // per_folder:03d}" / f"notes-{f:07d}-{'x' * (f % 40)}.txt"
    if f % per_folder == 0:
        target.parent.mkdir(parents=True, exist_ok=True)
    lines = [" ".join(rng.choice(words) for _ in range(12)) for _ in range(5)]
    target.write_text("\n".join(lines) + "\n")
PYTHON
  touch "$2/.complete"
}

peak() {  # peak COMMAND...: the maximum resident set in KB
  local file
  file=$(mktemp)
  /usr/bin/time -f %M -o "$file" "$@" > /dev/null || true
  cat "$file"
  rm -f "$file"
}

printf '%-8s %-4s %12s %12s %7s\n' files mode "orvel (KB)" "rg (KB)" ratio
declare -A orvel_peaks
for files in 10000 50000 100000; do
  tree="$root/$files"
  make_tree "$files" "$tree"
  for mode in -l -c; do
    ours=$(peak "$orvel" search -j 2 "$mode" quay "$tree")
    theirs=$(peak rg -j 2 -i -w "$mode" quay "$tree")
    orvel_peaks[$files$mode]=$ours
    printf '%-8s %-4s %12s %12s %7.2f\n' "$files" "$mode" "$ours" "$theirs" \
      "$(echo "$ours / $theirs" | bc -l)"
  done
done
for mode in -l -c; do
  growth=$((orvel_peaks[100000$mode] - orvel_peaks[10000$mode]))
  echo "orvel $mode: 100k files peak minus 10k files peak: $growth KB (target: under 1024 KB)"
done
