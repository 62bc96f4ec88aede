#!/bin/bash
# Notifications received per second by `sondara-cli listen` (csv to a file) from a local sender
# at several rates, with the kernel's drop count: received + dropped must equal sent.
# Usage: bench/listen_bench.sh [SONDARA_CLI] [COUNT]
set -euo pipefail
cli=${1:-build/src/sondara-cli}
count=${2:-50000}
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
port=$(python3 -c 'import socket; s=socket.socket(socket.AF_INET, socket.SOCK_DGRAM); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
printf '%8s %8s %9s %8s %10s\n' rate/s sent received dropped received/s
for rate in 5000 10000 20000 0; do
  SONDARA_HOME=$work "$cli" listen --port "$port" --format csv --timeout $((count / 2000 + 10)) \
    --count "$count" >"$work/out.csv" 2>"$work/err" &
  listener=$!
  for _ in $(seq 100); do grep -q Listening "$work/err" 2>/dev/null && break; sleep 0.05; done
  read -r sent seconds < <(python3 "$here/trap_flood.py" 127.0.0.1 "$port" "$count" "$rate")
  wait "$listener" || true
  received=$(($(wc -l <"$work/out.csv") - 1))
  dropped=$(sed -n 's/.* \([0-9]*\) dropped by the kernel.*/\1/p' "$work/err")
  # The receiving rate: rows over the time from the first row to the last.
  per_second=$(python3 - "$work/out.csv" <<'PY'
import csv, datetime, sys
rows = list(csv.reader(open(sys.argv[1])))[1:]
t = [datetime.datetime.strptime(r[0], "%Y-%m-%d %H:%M:%S.%f") for r in rows]
span = (t[-1] - t[0]).total_seconds() if len(t) > 1 else 0
print(int(len(t) / span) if span > 0 else 0)
PY
)
  printf '%8s %8s %9s %8s %10s\n' "${rate/#0/max}" "$sent" "$received" "${dropped:-?}" "$per_second"
done
