#!/usr/bin/env bash
# Runs every libFuzzer target the fuzz build defines, each for MINUTES, one worker per target,
# and merges the new inputs that reach new code back into tests/fuzz/corpus/<target>/
# (minimised: only inputs that add coverage are kept, the smaller preferred).
#   scripts/fuzz.sh MINUTES
# Environment: FUZZ_TARGETS="a b" runs only those; FUZZ_PARALLEL=N runs N targets at once
# (default 1: the machine may be shared); FUZZ_BUILD=dir (default build-fuzz); FUZZ_ARGS="..."
# adds libFuzzer options (say -max_len=1024); FUZZ_WORK=dir keeps the logs and new inputs
# somewhere else than $FUZZ_BUILD/fuzz-runs, so that two runs of one target can share the machine.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -ne 1 ] || ! [[ $1 =~ ^[0-9]+([.][0-9]+)?$ ]]; then
  echo "usage: $0 MINUTES" >&2
  exit 2
fi
seconds=$(awk -v m="$1" 'BEGIN { s = int(m * 60); print (s < 1 ? 1 : s) }')
build=${FUZZ_BUILD:-build-fuzz}
parallel=${FUZZ_PARALLEL:-1}

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DSONDARA_FUZZ=ON -DSONDARA_BUILD_GUI=OFF >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)"

targets=()
for exe in "$build"/tests/fuzz/fuzz_*; do
  [ -f "$exe" ] && [ -x "$exe" ] || continue
  name=${exe##*/fuzz_}
  if [ -n "${FUZZ_TARGETS:-}" ] && ! [[ " $FUZZ_TARGETS " == *" $name "* ]]; then
    continue
  fi
  targets+=("$name")
done
if ((${#targets[@]} == 0)); then
  echo "no fuzz targets in $build/tests/fuzz" >&2
  exit 1
fi

work=${FUZZ_WORK:-$build/fuzz-runs}
read -r -a extra <<<"${FUZZ_ARGS:-}"
mkdir -p "$work"

run_one() {  # run_one <target>: fuzz, then merge; the log is $work/<target>.log
  local name=$1 exe="$build/tests/fuzz/fuzz_$name" corpus="tests/fuzz/corpus/$name"
  local fresh="$work/$name.new" log="$work/$name.log"
  rm -rf "$fresh"
  mkdir -p "$fresh" "$corpus" "$work/artifacts"
  local rc=0
  "$exe" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 "${extra[@]}" \
    -artifact_prefix="$work/artifacts/$name-" "$fresh" "$corpus" >"$log" 2>&1 || rc=$?
  local before after
  before=$(find "$corpus" -type f | wc -l)
  if [ $rc -eq 0 ]; then
    "$exe" -merge=1 -timeout=10 -rss_limit_mb=2048 "$corpus" "$fresh" >>"$log" 2>&1 || rc=$?
  fi
  after=$(find "$corpus" -type f | wc -l)
  echo "$rc $((after - before))" >"$work/$name.result"
}

pids=()
for name in "${targets[@]}"; do
  echo "fuzzing $name for ${seconds}s"
  run_one "$name" &
  pids+=($!)
  if ((${#pids[@]} >= parallel)); then
    wait "${pids[0]}" || true
    pids=("${pids[@]:1}")
  fi
done
for pid in "${pids[@]}"; do
  wait "$pid" || true
done

status=0
printf '\n%-16s %14s %10s %12s  %s\n' target executions exec/s "new inputs" result
for name in "${targets[@]}"; do
  log="$work/$name.log"
  read -r rc added <"$work/$name.result"
  runs=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$log" | tail -n 1 | awk '{print $2}')
  speed=$(grep -oE 'stat::average_exec_per_sec: *[0-9]+' "$log" | tail -n 1 | awk '{print $2}')
  result=ok
  if [ "$rc" -ne 0 ]; then
    result="FAILED (see $log; inputs in $work/artifacts)"
    status=1
  fi
  printf '%-16s %14s %10s %12s  %s\n' "$name" "${runs:-?}" "${speed:-?}" "$added" "$result"
done
exit $status
