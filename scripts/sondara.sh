#!/usr/bin/env bash
# Set-up, build, run and test on Debian 12. Installs whatever Debian packages are missing.
#   scripts/sondara.sh run    build and start the program
#   scripts/sondara.sh test   build and run every test (normal, sanitizer, fuzz, thread and user
#                             builds)
set -euo pipefail
cd "$(dirname "$0")/.."

BUILD_PACKAGES=(cmake ninja-build g++ libgtest-dev qt6-base-dev libssl-dev libsecret-1-dev libsmi2-dev
  pkg-config python3 python3-pysnmp4 python3-pysnmp4-mibs fonts-dejavu-core)
# Test peers and tools: tshark decodes our encodings independently, snmpd/snmptrapd answer our
# requests (snmpsim as a second SNMPv3 agent, one that stretches keys the other way), clang builds
# the fuzzer, iproute2 makes the private network namespaces.
TEST_PACKAGES=(clang libclang-rt-14-dev tshark snmpd snmptrapd snmp snmpsim iproute2 procps)
# Benchmarks only: bench/netsnmp_codec_bench times libnetsnmp's codec against ours. Nothing else
# links it, and the bench is left out of the build where the library is missing.
BENCH_PACKAGES=(libsnmp-dev)

install_missing() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  ((${#missing[@]} == 0)) && return 0
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  echo "Installing: ${missing[*]}"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
}

jobs=$(nproc 2>/dev/null || echo 2)

build() {  # build <dir> <cmake options...>
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja "$@" && cmake --build "$dir" -j "$jobs"
}

passed=0
failed=0
run_ctest() {  # run_ctest <dir> <ctest options...>
  local dir=$1 log
  shift
  log=$(mktemp)
  local rc=0
  ctest --test-dir "$dir" --output-on-failure "$@" 2>&1 | tee "$log" || rc=$?
  [ "${PIPESTATUS[0]}" -ne 0 ] && rc=1
  local line
  line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1 || true)
  if [ -n "$line" ]; then
    local f t
    f=$(sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\1/' <<<"$line")
    t=$(sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\2/' <<<"$line")
    passed=$((passed + t - f))
    failed=$((failed + f))
  fi
  rm -f "$log"
  return $rc
}

# The program as users build it: optimised, link-time optimised, no tests. `run` and the test
# command's last leg share build/, so neither rebuilds it after the other. SONDARA_WERROR is not
# given here: build/ keeps what the test command set (on), and a fresh one has it off.
USER_BUILD=(-DCMAKE_BUILD_TYPE=Release -DSONDARA_BUILD_TESTS=OFF)

case "${1:-}" in
  run)
    install_missing "${BUILD_PACKAGES[@]}"
    build build "${USER_BUILD[@]}"
    exec ./build/src/sondara
    ;;
  test)
    install_missing "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
    status=0
    # 1. Everything with its tests, in a folder of its own.
    build build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSONDARA_BUILD_TESTS=ON -DSONDARA_WERROR=ON
    run_ctest build-test -j "$jobs" || status=1
    # 2. The core and its tests under AddressSanitizer and UndefinedBehaviorSanitizer.
    build build-asan -DCMAKE_BUILD_TYPE=Debug -DSONDARA_SANITIZE=ON -DSONDARA_BUILD_GUI=OFF \
      -DSONDARA_BUILD_BENCH=OFF -DSONDARA_WERROR=ON
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 run_ctest build-asan -j "$jobs" ||
      status=1
    # 3. libFuzzer on message decoding and response checks, for a bounded time.
    CC=clang CXX=clang++ build build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSONDARA_FUZZ=ON \
      -DSONDARA_BUILD_GUI=OFF -DSONDARA_FUZZ_SECONDS="${SONDARA_FUZZ_SECONDS:-60}" \
      -DSONDARA_WERROR=ON
    run_ctest build-fuzz -j "$jobs" || status=1
    # 4. The tests that start threads (log queues, requester, walk and sweep workers, stopping)
    #    under ThreadSanitizer; no suppressions.
    build build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSONDARA_TSAN=ON -DSONDARA_BUILD_GUI=OFF \
      -DSONDARA_BUILD_BENCH=OFF -DSONDARA_WERROR=ON
    TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" run_ctest build-tsan -j "$jobs" \
      -L threads || status=1
    # 5. What users build (and `run` starts), warnings as errors; its CLI must start and show
    #    its usage.
    if build build "${USER_BUILD[@]}" -DSONDARA_WERROR=ON &&
      help=$(./build/src/sondara-cli --help) && grep -q '^Usage: sondara-cli ' <<<"$help"; then
      echo "user build: sondara-cli --help passed"
      passed=$((passed + 1))
    else
      echo "user build: failed to build, or sondara-cli --help did not show its usage"
      failed=$((failed + 1))
      status=1
    fi
    echo
    echo "all builds: $passed passed, $failed failed"
    exit $status
    ;;
  *)
    echo "usage: $0 run|test" >&2
    exit 2
    ;;
esac
