#!/usr/bin/env bash
# Sweeps a /24 (198.18.0.1-.254) with 5 answering hosts inside a private network namespace of
# its own, time-out 500 ms, no retries: sweep_bench sequential, sweep_bench --fast, and fping
# over the same range, each pinned to the same core. Prints each run's time, devices and the
# ratios to fping. Needs root (network and mount namespaces) and fping.
#   bench/sweep_bench.sh [path/to/sweep_bench] [--no-sequential]
set -euo pipefail

bin=${1:-build/bench/sweep_bench}
sequential=1
[ "${2:-}" = --no-sequential ] && sequential=0
if [ "${SWEEP_BENCH_INSIDE:-}" != 1 ]; then
  command -v fping >/dev/null || { echo "fping is missing: apt-get install -y fping" >&2; exit 1; }
  exec unshare --net --mount env SWEEP_BENCH_INSIDE=1 bash "$0" "$(realpath "$bin")" "${2:-}"
fi

# d0 swallows whatever is routed to it. Its own address lies outside the swept range, so only
# the five /32 addresses answer; the hosts file gives them names.
ip link set lo up
ip link add d0 type dummy 2>/dev/null || ip link add d0 type ifb
ip addr add 198.18.1.1/23 dev d0
ip link set d0 up
hosts=$(mktemp)
for n in 10 60 110 160 210; do
  ip addr add "198.18.0.$n/32" dev d0
  echo "198.18.0.$n host$n.bench" >>"$hosts"
done
mount --make-rprivate /
mount --bind "$hosts" /etc/hosts

cpu=$(($(nproc) - 1))
declare -A secs addrs
run() {  # run <label> <command...>
  local label=$1 out start end
  shift
  out=$(mktemp)
  start=$(date +%s.%N)
  taskset -c "$cpu" "$@" >"$out" 2>/dev/null || true  # fping exits 1 when some are silent
  end=$(date +%s.%N)
  secs[$label]=$(awk -v s="$start" -v e="$end" 'BEGIN { printf "%.3f", e - s }')
  # sweep_bench prints "address<TAB>name", fping -a one address a line.
  addrs[$label]=$(grep -oE '^198\.18\.0\.[0-9]+' "$out" | sort -t. -k4 -n | tr '\n' ' ')
  printf '%-18s %8s s   devices: %s\n' "$label" "${secs[$label]}" "${addrs[$label]}"
  rm -f "$out"
}
ratio() {  # ratio <label>: its time over fping's, and whether it found the same devices
  printf '%-18s %6sx   same devices as fping: %s\n' "$1 / fping" \
    "$(awk -v a="${secs[$1]}" -v b="${secs[fping]}" 'BEGIN { printf "%.2f", a / b }')" \
    "$([ "${addrs[$1]}" = "${addrs[fping]}" ] && echo yes || echo no)"
}

echo "198.18.0.1-198.18.0.254, 5 answering, time-out 500 ms, retries 0, on CPU $cpu"
run fping fping -a -g 198.18.0.1 198.18.0.254 -r 0 -t 500 -i 10
run fast "$bin" 198.18.0.1 198.18.0.254 --fast --timeout 500 --retries 0
[ "$sequential" = 1 ] && run sequential "$bin" 198.18.0.1 198.18.0.254 --timeout 500 --retries 0
echo
ratio fast
[ "$sequential" = 1 ] && ratio sequential
exit 0
