#!/usr/bin/env bash
# Builds the fuzz targets with clang's libFuzzer (ASan + UBSan) and runs one of them:
#
#   scripts/fuzz.sh TARGET SECONDS     e.g. scripts/fuzz.sh query 600
#
# TARGET is a file stem of fuzz/*_fuzzer.cc. The run starts from the seeds and findings in
# fuzz/corpus/TARGET and keeps the inputs it finds interesting in build/fuzz/corpus/TARGET
# (not in the repository). A crash is written to fuzz/corpus/TARGET/crash-*, where the test
# suite replays it: fix it, and commit the input as a regression case.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -lt 1 ]; then
  echo "usage: scripts/fuzz.sh TARGET [SECONDS]" >&2
  exit 2
fi
target=$1
seconds=${2:-60}

scripts/setup.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${target}_fuzzer" >/dev/null
work="build/fuzz/corpus/$target"
mkdir -p "$work" "fuzz/corpus/$target"
# The markup targets also start from the saved web pages beside the project (read only).
seeds=("fuzz/corpus/$target")
max_len=16384
case "$target" in
  html_text | page_links | tag_scanner | web_page)
    [ -d ../shared/testdata/html ] && seeds+=(../shared/testdata/html/article-extraction-benchmark)
    ;;
  feeds)
    [ -d ../shared/testdata/feeds ] && seeds+=(../shared/testdata/feeds/small ../shared/testdata/feeds/large)
    ;;
  dsstore)
    [ -d ../shared/testdata/dsstore ] && seeds+=(../shared/testdata/dsstore)
    max_len=32768  # most real stores are 6 to 28 KB
    ;;
  unpack)
    seeds+=(orvel/formats/testdata/hostile)
    max_len=65536  # the expanding pack is 64 KB
    ;;
esac
# Absolute paths: a target may change its working folder when it sets up (path_list does).
for k in "${!seeds[@]}"; do seeds[k]=$(realpath "${seeds[k]}"); done
exec "build/fuzz/fuzz/${target}_fuzzer" -max_total_time="$seconds" -timeout=10 \
  -rss_limit_mb=4096 -max_len=$max_len -print_final_stats=1 \
  -artifact_prefix="$PWD/fuzz/corpus/$target/" "$(realpath "$work")" "${seeds[@]}"
