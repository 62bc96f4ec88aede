#!/usr/bin/env bash
# Full-view walks of one local snmpd through delay_relay, as over a network: sondara-cli with
# --bulk auto --parallel 4 and with today's default (GetNext, one request in flight) against
# net-snmp's snmpwalk and snmpbulkwalk -Cr10 and -Cr50, at 0, 1 and 10 ms one-way delay, in one
# run. Checks that every client listed the same objects and prints the median times and the
# ratios: Auto + 4 in flight / snmpbulkwalk -Cr50 (goals: at most 0.5 at 1 ms, 0.4 at 10 ms) and
# Auto + 4 in flight / today's walk at 0 ms (goal: at most 1.0).
#
#   bench/walk_delay_compare.sh [SONDARA_CLI] [DELAY_RELAY] [RUNS]
#
# Defaults: build-bench/src/sondara-cli, build-bench/bench/delay_relay, 3 runs per figure.
# A GetNext walk of the whole view makes one round trip per object (some 8,000 of 20 ms at
# 10 ms: nearly three minutes), so at 10 ms the two GetNext walks run once each, and only with
# WALK_DELAY_GETNEXT_10MS=1. DELAYS="0 1 10" and LOSS (percent, default 0) change the path.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=bench/compare_common.sh
. bench/compare_common.sh

cli=${1:-build-bench/src/sondara-cli}
relay=${2:-build-bench/bench/delay_relay}
runs=${3:-3}
delays=${DELAYS:-0 1 10}
loss=${LOSS:-0}
require_built "$cli"
require_built "$relay"
require_tools snmpd snmpwalk snmpbulkwalk snmpget

compare_init sondara-walk-delay
relay_pid=
stop_relay() {
  [ -n "$relay_pid" ] && kill "$relay_pid" 2>/dev/null && wait "$relay_pid" 2>/dev/null
  relay_pid=
}
trap 'stop_relay; compare_cleanup' EXIT

port=$(free_udp_port)
printf 'rocommunity getcom 127.0.0.1\nsysdescr Sondara bench agent\n' >"$work/snmpd.conf"
mkdir -p "$work/persist"
SNMP_PERSISTENT_DIR="$work/persist" HOME="$work" /usr/sbin/snmpd -f -C \
  -c "$work/snmpd.conf" -Lf "$work/snmpd.log" "udp:127.0.0.1:$port" >/dev/null 2>&1 &
snmpd_pid=$!
wait_agent "127.0.0.1:$port"

# The OIDs a client listed (numeric, one a line), from its output in $work/out; net-snmp's
# closing "No more variables" line names the last OID again.
oids() { grep -v 'No more variables' "$work/out" | grep -o '^\.1\.[0-9.]*' || true; }
# Processes, and the sockets of the clients and the relay, come and go between walks; the rest
# of the view stays.
stable() {
  grep -v -e '^\.1\.3\.6\.1\.2\.1\.25\.[45]\.' -e '^\.1\.3\.6\.1\.4\.1\.2021\.' \
    -e '^\.1\.3\.6\.1\.2\.1\.7\.[57]\.' -e '^\.1\.3\.6\.1\.2\.1\.6\.\(13\|19\|20\)\.' || true
}

echo "agent: snmpd pid $snmpd_pid, udp 127.0.0.1:$port; relay loss ${loss}%"
echo "runs per figure: $runs (median shown); load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
printf '\n%-6s %-26s %8s %9s\n' delay client objects seconds
summary=""
for delay in $delays; do
  relay_port=$(free_udp_port)
  "$relay" "$relay_port" "$port" "$delay" "$loss" 1800 >"$work/relay.log" 2>&1 &
  relay_pid=$!
  target="127.0.0.1:$relay_port"
  wait_agent "$target" 0.5
  ours=("$cli" walk 127.0.0.1 .1.3.6.1 -p "$relay_port" -c getcom -On -t 1000 -r 3)
  declare -A cmds=(
    [auto4]="${ours[*]} --bulk auto --parallel 4"
    [ours-getnext]="${ours[*]}"
    [snmpwalk]="snmpwalk -v2c -On -c getcom $target .1.3.6.1"
    [snmpbulkwalk-Cr10]="snmpbulkwalk -v2c -Cr10 -On -c getcom $target .1.3.6.1"
    [snmpbulkwalk-Cr50]="snmpbulkwalk -v2c -Cr50 -On -c getcom $target .1.3.6.1"
  )
  declare -A median_of=()
  reference=""
  for client in auto4 snmpbulkwalk-Cr50 snmpbulkwalk-Cr10 ours-getnext snmpwalk; do
    n=$runs
    if [ "$delay" = 10 ] && { [ "$client" = ours-getnext ] || [ "$client" = snmpwalk ]; }; then
      if [ "${WALK_DELAY_GETNEXT_10MS:-0}" != 1 ]; then
        printf '%-6s %-26s %8s %9s\n' "${delay}ms" "$client" - "skipped (WALK_DELAY_GETNEXT_10MS=1)"
        continue
      fi
      n=1
    fi
    times=""
    # shellcheck disable=SC2086  # the command line is split on purpose
    for _ in $(seq "$n"); do times+=" $(timed ${cmds[$client]})"; done
    listed=$(oids | stable)
    [ -z "$reference" ] && reference=$listed
    same=same
    [ "$listed" = "$reference" ] || same="DIFFERENT objects from auto4's"
    m=$(median <<<"$times")
    median_of[$client]=$m
    printf '%-6s %-26s %8s %8ss %s\n' "${delay}ms" "$client" "$(oids | wc -l)" "$m" \
      "$([ "$same" = same ] || echo "$same")"
    summary+="  ${delay}ms $client:$times"$'\n'
  done
  printf '%-6s auto4 / snmpbulkwalk-Cr50 = %s' "${delay}ms" \
    "$(ratio "${median_of[auto4]}" "${median_of[snmpbulkwalk-Cr50]}")"
  [ -n "${median_of[ours-getnext]:-}" ] &&
    printf ', auto4 / ours-getnext = %s' "$(ratio "${median_of[auto4]}" "${median_of[ours-getnext]}")"
  echo
  unset cmds median_of
  stop_relay
done
echo
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "every run, in seconds:"
printf '%s' "$summary"
echo "auto4: sondara-cli walk --bulk auto --parallel 4; ours-getnext: sondara-cli walk (GetNext)"
echo "goals: auto4 / snmpbulkwalk-Cr50 <= 0.5 at 1 ms and <= 0.4 at 10 ms; auto4 / ours-getnext <= 1.0 at 0 ms"
echo "objects compared without hrSWRun/hrSWRunPerf, UCD-SNMP-MIB and the UDP and TCP socket"
echo "tables, which change between walks"
