#!/usr/bin/env bash
# Sets up, builds and runs every test: the optimised build (warnings as errors, with the
# benchmarks compiled, the Python module and its tests), the installed tree and its
# consumers, the AddressSanitizer + UndefinedBehaviorSanitizer build, the ThreadSanitizer
# runs of parallel searches, a short run of every fuzz target, and the formatting check.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

for preset in release sanitize; do
  echo "== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset tests"
  ctest --preset "$preset"
  if [ "$preset" = release ]; then
    echo "== installed tree and its consumers"
    tests/install/check.sh build/release
  fi
done

echo "== thread sanitizer: the collection search on 8 threads (order, cancellation), and"
echo "   orvel search on four threads, of text files and of TextPacks, index writers and a"
echo "   reader at once, indexed searches checking files ahead of their walk, and orvel serve"
echo "   answering while a client goes away and another is slow"
cmake --preset tsan >/dev/null
cmake --build --preset tsan --target orvel orvel_cli_test orvel_find_test
ctest --preset tsan -R 'OrderedRunnerTest|CollectionSearchTest|SearchShortcutsTest|SearchInputsTest\.(ThreadsPrintInFileOrder|TextPacksAreReadOnSeveralThreads)|CollectionIndexTest\.(TwoWritersTakeTurnsWhileReadersGoOn|IndexedSearchesAnswerExactlyAsTheScanThroughEdits)|ServeTest'

echo "== fuzzing, about 5 s per target"
mkdir -p build
for source in fuzz/*_fuzzer.cc; do
  target=$(basename "$source" _fuzzer.cc)
  log="build/fuzz-$target.log"
  if ! scripts/fuzz.sh "$target" 5 >"$log" 2>&1; then
    tail -n 40 "$log"
    echo "fuzzing $target: failed (the input is in fuzz/corpus/$target)" >&2
    exit 1
  fi
  echo "$target: $(grep -E '^Done' "$log" || echo done)"
done

echo "== formatting"
git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror
echo "formatting: clean"
