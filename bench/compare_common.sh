# What the comparison scripts share, sourced by them: a work folder removed at exit with the
# agent they start, a free loopback port, and the timing helpers.
#   compare_init PREFIX         makes $work; sets the EXIT trap that stops $snmpd_pid
#   free_udp_port               prints a free UDP port on 127.0.0.1
#   timed CMD...                seconds CMD takes, its output in $work/out; "fail" on failure
#   median <<< "t1 t2 ..."      the median of the times
#   ratio A B [DECIMALS]        A / B with two decimals, or DECIMALS
#   require_built PROGRAM       exits 2 unless PROGRAM was built
#   require_tools TOOL...       exits 2 unless each tool (net-snmp's, taskset) is installed

compare_init() {
  work=$(mktemp -d "/tmp/$1-XXXXXX")
  snmpd_pid=
  trap compare_cleanup EXIT
}
compare_cleanup() {
  [ -n "$snmpd_pid" ] && kill "$snmpd_pid" 2>/dev/null && wait "$snmpd_pid" 2>/dev/null
  rm -rf "$work"
}
free_udp_port() {
  python3 -c 'import socket; s=socket.socket(socket.AF_INET, socket.SOCK_DGRAM); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}
timed() {
  local start end
  start=$EPOCHREALTIME
  "$@" >"$work/out" 2>&1 || { echo fail; return; }
  end=$EPOCHREALTIME
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }'
}
median() { tr ' ' '\n' | grep -v '^$' | sort -g | awk '{ v[NR] = $1 } END { print (NR ? v[int((NR + 1) / 2)] : "n/a") }'; }
ratio() { awk -v a="$1" -v b="$2" -v d="${3:-2}" 'BEGIN { if (b > 0) printf "%.*f", d, a / b; else print "n/a" }'; }
require_built() {
  [ -x "$1" ] || { echo "no $1; build it first (bench/README.md)" >&2; exit 2; }
}
require_tools() {
  local tool
  for tool in "$@"; do
    command -v "$tool" >/dev/null || [ -x "/usr/sbin/$tool" ] ||
      { echo "$tool is missing (apt-get install snmpd snmp util-linux)" >&2; exit 2; }
  done
}
# Waits up to 5 s for an agent at TARGET (host:port) to answer community getcom; TIMEOUT is
# snmpget's per-try time-out in seconds (default 0.1).
wait_agent() {
  for _ in $(seq 50); do
    snmpget -v2c -c getcom -t "${2:-0.1}" -r 0 "$1" .1.3.6.1.2.1.1.1.0 >/dev/null 2>&1 && return 0
    sleep 0.1
  done
}
