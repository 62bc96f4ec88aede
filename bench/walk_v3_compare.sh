#!/usr/bin/env bash
# An SNMPv3 authPriv (SHA-256, AES-128) GetBulk walk of a local snmpd's whole view, side by side
# in one run with our own v2c GetBulk walk of the same agent and with net-snmp's snmpbulkwalk -v3
# as the same user. Client and agent share one core; the runs alternate, so a slow moment of
# the machine hits every client. Prints the medians and the two ratios the goals name:
# ours v3 / ours v2c (goal: at most 1.10) and ours v3 / snmpbulkwalk -v3 (goal: at most 0.90),
# once with 50 repetitions as snmpbulkwalk is given and once with the walk's Auto count.
# UNPINNED=1 lets the kernel place the agent and the clients on any core, as on two machines.
#
#   bench/walk_v3_compare.sh [WALK_BENCH] [RUNS]
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=bench/compare_common.sh
. bench/compare_common.sh

bench=${1:-build-bench/bench/walk_bench}
runs=${2:-5}
core=${SNMPD_CORE:-0}
require_built "$bench"
require_tools snmpd snmpbulkwalk snmpget taskset

compare_init sondara-walk-v3

user=benchuser auth_pass=benchauthpass priv_pass=benchprivpass
port=$(free_udp_port)
printf 'rocommunity getcom 127.0.0.1\nrouser %s priv\ncreateUser %s SHA-256 %s AES %s\n' \
  "$user" "$user" "$auth_pass" "$priv_pass" >"$work/snmpd.conf"
mkdir -p "$work/persist"
SNMP_PERSISTENT_DIR="$work/persist" HOME="$work" taskset -c "$core" /usr/sbin/snmpd -f -C \
  -c "$work/snmpd.conf" -Lf "$work/snmpd.log" "udp:127.0.0.1:$port" >/dev/null 2>&1 &
snmpd_pid=$!
wait_agent "127.0.0.1:$port"
target="127.0.0.1:$port"
v3=(-v3 -l authPriv -u "$user" -a SHA-256 -A "$auth_pass" -x AES -X "$priv_pass")

pin=(taskset -c "$core")
[ -n "${UNPINNED:-}" ] && pin=()
theirs_cmd=(snmpbulkwalk "${v3[@]}" -Cr50 -On "$target" .1.3.6.1)
v2c_cmd=("$bench" 127.0.0.1 "$port" getcom --bulk 50)
v3_cmd=("$bench" 127.0.0.1 "$port" getcom --bulk 50 --v3 "$user" "$auth_pass" "$priv_pass")
v2c_auto_cmd=("$bench" 127.0.0.1 "$port" getcom --bulk auto)
v3_auto_cmd=("$bench" 127.0.0.1 "$port" getcom --bulk auto --v3 "$user" "$auth_pass" "$priv_pass")
theirs_objects=$("${theirs_cmd[@]}" | grep -c '^\.1\.' || true)
v3_objects=$("${v3_cmd[@]}" | awk '/^objects / { print $2 }')
v2c_objects=$("${v2c_cmd[@]}" | awk '/^objects / { print $2 }')
echo "agent: snmpd pid $snmpd_pid on core $core, udp $target, user $user (authPriv, SHA-256, AES-128)"
echo "objects: snmpbulkwalk -v3 $theirs_objects lines, walk_bench v3 $v3_objects, walk_bench v2c $v2c_objects"
echo "runs per figure: $runs (median shown); load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
t_theirs="" t_v2c="" t_v3="" t_v2c_auto="" t_v3_auto=""
for _ in $(seq "$runs"); do
  t_theirs+=" $(timed "${pin[@]}" "${theirs_cmd[@]}")"
  t_v2c+=" $(timed "${pin[@]}" "${v2c_cmd[@]}")"
  t_v3+=" $(timed "${pin[@]}" "${v3_cmd[@]}")"
  t_v2c_auto+=" $(timed "${pin[@]}" "${v2c_auto_cmd[@]}")"
  t_v3_auto+=" $(timed "${pin[@]}" "${v3_auto_cmd[@]}")"
done
m_theirs=$(median <<<"$t_theirs") m_v2c=$(median <<<"$t_v2c") m_v3=$(median <<<"$t_v3")
m_v2c_auto=$(median <<<"$t_v2c_auto") m_v3_auto=$(median <<<"$t_v3_auto")
echo "placement: ${pin[*]:-unpinned}"
printf '%-34s %9ss\n' "snmpbulkwalk -v3 -Cr50" "$m_theirs" "walk_bench --bulk 50 (v2c)" "$m_v2c" \
  "walk_bench --bulk 50 --v3" "$m_v3" "walk_bench --bulk auto (v2c)" "$m_v2c_auto" \
  "walk_bench --bulk auto --v3" "$m_v3_auto"
echo "--bulk 50:   ours v3 / ours v2c:         $(ratio "$m_v3" "$m_v2c") (goal: at most 1.10)"
echo "--bulk 50:   ours v3 / snmpbulkwalk -v3: $(ratio "$m_v3" "$m_theirs") (goal: at most 0.90)"
echo "--bulk auto: ours v3 / ours v2c:         $(ratio "$m_v3_auto" "$m_v2c_auto") (goal: at most 1.10)"
echo "--bulk auto: ours v3 / snmpbulkwalk -v3: $(ratio "$m_v3_auto" "$m_theirs") (goal: at most 0.90)"
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "every run, in seconds: theirs$t_theirs | v2c$t_v2c | v3$t_v3 | v2c auto$t_v2c_auto |" \
  "v3 auto$t_v3_auto"
