# Shared by the shell benchmarks (sourced): best_time CMD... prints the best of $runs
# wall-clock times of a command, in microseconds, after one warm-up run (files cached).
best_time() {
  local best="" start end elapsed
  "$@" > /dev/null || true
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    "$@" > /dev/null || true
    end=$(date +%s%N)
    elapsed=$(((end - start) / 1000))
    if [ -z "$best" ] || [ "$elapsed" -lt "$best" ]; then best=$elapsed; fi
  done
  echo "$best"
}
