#!/usr/bin/env bash
# What names from the built-in MIB modules cost sondara-cli, beside the same work without them:
# the first use (start-up and resident memory of `mib translate` against `--version`) and a walk
# of a local snmpd's whole view with names against `-On`, same run, same objects (about 8,000:
# fewer than 10,000, so the names' fixed cost weighs more than in a longer walk; objects added
# through the agent's configuration, such as view lines, are served so slowly that they would
# hide what the names cost). The walks run in pairs,
# their order swapped each time, and each pair gives one ratio, so that the host's load, which
# drifts over a run, weighs on both sides of a ratio alike; the median ratio is shown. The MIB
# folders' cache is a folder of this run's own: the first `mib translate` reads the folders
# (shown once, as "cold"), the rest find them in the cache as a user's later runs do.
#   bench/mib_names_compare.sh [SONDARA_CLI] [RUNS]
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/compare_common.sh

cli=${1:-build-bench/src/sondara-cli}
runs=${2:-5}
require_built "$cli"
require_tools snmpd

compare_init sondara-mib-names
export SONDARA_HOME="$work/home" XDG_CACHE_HOME="$work/cache"
mkdir -p "$SONDARA_HOME" "$work/persist"
t_cold=$(timed "$cli" mib translate IF-MIB::ifOperStatus.3)
port=$(free_udp_port)
printf 'rocommunity getcom 127.0.0.1\n' >"$work/snmpd.conf"
SNMP_PERSISTENT_DIR="$work/persist" HOME="$work" /usr/sbin/snmpd -f -C -c "$work/snmpd.conf" \
  -Lf "$work/snmpd.log" "udp:127.0.0.1:$port" >/dev/null 2>&1 &
snmpd_pid=$!
for _ in $(seq 50); do
  "$cli" get 127.0.0.1 .1.3.6.1.2.1.1.1.0 -p "$port" -c getcom -t 100 -r 0 >/dev/null 2>&1 && break
  sleep 0.1
done

peak_kb() { /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1; }
walk=("$cli" walk 127.0.0.1 .1.3.6.1 -p "$port" -c getcom --bulk 50)
objects=$("${walk[@]}" -On | grep -c '^\.1\.' || true)
named=$("${walk[@]}" | grep -c '::' || true)
echo "agent: snmpd pid $snmpd_pid, udp 127.0.0.1:$port; $objects objects, $named of them named"
echo "runs per figure: $runs (median shown); load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
t_version="" t_translate="" t_numeric="" t_names="" pairs=""
for i in $(seq "$runs"); do
  t_version+=" $(timed "$cli" --version)"
  t_translate+=" $(timed "$cli" mib translate IF-MIB::ifOperStatus.3)"
  if ((i % 2)); then
    n=$(timed "${walk[@]}" -On) w=$(timed "${walk[@]}")
  else
    w=$(timed "${walk[@]}") n=$(timed "${walk[@]}" -On)
  fi
  t_numeric+=" $n" t_names+=" $w" pairs+=" $(ratio "$w" "$n" 4)"
done
m_version=$(median <<<"$t_version") m_translate=$(median <<<"$t_translate")
m_numeric=$(median <<<"$t_numeric") m_names=$(median <<<"$t_names")
printf '%-40s %9ss %8s KB\n' \
  "sondara-cli --version" "$m_version" "$(peak_kb "$cli" --version)" \
  "sondara-cli mib translate (first use)" "$m_translate" "$(peak_kb "$cli" mib translate sysDescr.0)" \
  "walk --bulk 50 -On" "$m_numeric" "$(peak_kb "${walk[@]}" -On)" \
  "walk --bulk 50 (names)" "$m_names" "$(peak_kb "${walk[@]}")"
echo "first use of the names: $(awk -v a="$m_translate" -v b="$m_version" 'BEGIN { printf "%.0f", (a - b) * 1000 }') ms (goal: under 100 ms); the very first, MIB folders not yet cached: $(awk -v a="$t_cold" -v b="$m_version" 'BEGIN { printf "%.0f", (a - b) * 1000 }') ms"
echo "walk with names / walk -On: $(median <<<"$pairs" | xargs printf '%.2f') (median of $runs paired runs; goal: at most 1.05); the two medians' ratio: $(ratio "$m_names" "$m_numeric")"
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
