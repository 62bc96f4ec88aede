#!/usr/bin/env bash
# walk_bench against net-snmp's snmpwalk and snmpbulkwalk, side by side in one run, over the full
# view of one local snmpd pinned to one core. Each client runs on the agent's core ("same core")
# and on another core ("other core"); the runs of both clients alternate, so a slow moment of
# the machine hits both. Prints the median times and walk_bench's time as a ratio of the other's.
#
#   bench/walk_compare.sh [WALK_BENCH] [RUNS]
#
# WALK_BENCH defaults to build-bench/bench/walk_bench (see bench/README.md), RUNS to 5.
# SNMPD_CORE and CLIENT_OTHER_CORE choose the cores (default 0 and 1). WALK_COMPARE_RT=1 runs
# the agent and every client under SCHED_FIFO priority 10 (root only), which keeps other work on
# a busy machine from landing between a request and its answer; figures taken so say so.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=bench/compare_common.sh
. bench/compare_common.sh

bench=${1:-build-bench/bench/walk_bench}
runs=${2:-5}
agent_core=${SNMPD_CORE:-0}
other_core=${CLIENT_OTHER_CORE:-1}
require_built "$bench"
require_tools snmpd snmpwalk snmpbulkwalk snmpget taskset

compare_init sondara-walk-compare

# A free UDP port on loopback, and an agent on it with the tests' read community.
port=$(free_udp_port)
printf 'rocommunity getcom 127.0.0.1\nsysdescr Sondara bench agent\n' >"$work/snmpd.conf"
mkdir -p "$work/persist"
[ "${WALK_COMPARE_RT:-0}" = 1 ] && agent_rt=(chrt -f 10) || agent_rt=()
SNMP_PERSISTENT_DIR="$work/persist" HOME="$work" "${agent_rt[@]}" taskset -c "$agent_core" \
  /usr/sbin/snmpd -f -C \
  -c "$work/snmpd.conf" -Lf "$work/snmpd.log" "udp:127.0.0.1:$port" >/dev/null 2>&1 &
snmpd_pid=$!
wait_agent "127.0.0.1:$port"
target="127.0.0.1:$port"
rt=()
[ "${WALK_COMPARE_RT:-0}" = 1 ] && rt=(chrt -f 10)

# Objects each client lists, once, so a ratio never compares unequal work.
theirs=$(snmpwalk -v2c -On -c getcom "$target" .1.3.6.1 | grep -c '^\.1\.' || true)
ours=$("$bench" 127.0.0.1 "$port" getcom | awk '/^objects / { print $2 }')
echo "agent: snmpd pid $snmpd_pid on core $agent_core, udp $target"
echo "objects: snmpwalk $theirs lines (with its end-of-view line), walk_bench $ours"
echo "runs per figure: $runs (median shown)$([ ${#rt[@]} -gt 0 ] && echo ', under SCHED_FIFO 10')"
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
raw=""

printf '%-12s %-22s %10s %10s %8s\n' placement mode theirs ours ratio
for placement in same other; do
  core=$agent_core
  [ "$placement" = other ] && core=$other_core
  pin=("${rt[@]}" taskset -c "$core")
  for mode in getnext bulk50; do
    if [ "$mode" = getnext ]; then
      their_cmd=(snmpwalk -v2c -On -c getcom "$target" .1.3.6.1)
      our_cmd=("$bench" 127.0.0.1 "$port" getcom)
    else
      their_cmd=(snmpbulkwalk -v2c -Cr50 -On -c getcom "$target" .1.3.6.1)
      our_cmd=("$bench" 127.0.0.1 "$port" getcom --bulk 50)
    fi
    "${pin[@]}" "${their_cmd[@]}" >/dev/null 2>&1 || true  # warm the agent's caches
    their_times="" our_times=""
    for _ in $(seq "$runs"); do
      their_times+=" $(timed "${pin[@]}" "${their_cmd[@]}")"
      our_times+=" $(timed "${pin[@]}" "${our_cmd[@]}")"
    done
    t=$(median <<<"$their_times")
    o=$(median <<<"$our_times")
    printf '%-12s %-22s %9ss %9ss %8s\n' "$placement" "$mode" "$t" "$o" "$(ratio "$o" "$t")"
    raw+="  $placement $mode: theirs$their_times | ours$our_times"$'\n'
  done
done
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
echo "every run, in seconds:"
printf '%s' "$raw"
echo "theirs: snmpwalk -v2c -On (getnext), snmpbulkwalk -v2c -Cr50 -On (bulk50)"
echo "ours:   walk_bench (getnext), walk_bench --bulk 50 (bulk50); goal: ratio <= 0.90"
