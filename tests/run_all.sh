#!/usr/bin/env bash
# Builds Tarnovelle and runs every test twice: a normal build, then a build
# with AddressSanitizer and UndefinedBehaviorSanitizer. Installs the Debian
# packages it needs first (run as root on a fresh Debian 12 machine).
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(build-essential cmake pkg-config googletest libgtest-dev libgmock-dev
          libbenchmark-dev libpugixml-dev libcctz-dev tzdata libcli11-dev
          clang libclang-rt-14-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "missing packages: ${missing[*]} (run as root to install them)" >&2
    exit 1
  fi
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi

jobs=$(nproc)

echo "== normal build"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
# The files the tests write become the fuzz targets' seeds.
seeds="$PWD/build/fuzz-seeds"
rm -rf "$seeds"
(cd build && TNVL_FUZZ_SEEDS="$seeds" ctest --output-on-failure -j"$jobs")

echo "== fuzz targets (clang, libFuzzer), a fixed number of inputs each"
bash tests/run_fuzz.sh "$seeds" 10000

echo "== sanitizer build (address, undefined)"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DTARNOVELLE_SANITIZE=ON \
      -DTARNOVELLE_BUILD_BENCH=OFF >/dev/null
cmake --build build-asan -j"$jobs"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:halt_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
(cd build-asan && ctest --output-on-failure -j"$jobs")

echo "== thread sanitizer, the tests that start threads"
# The working thread, the message box's reroutes and the processes' locks
# under ThreadSanitizer; the rest of the suite runs single-threaded.
thread_tests=(ITNVLWriter_test CTNMessageBox_test ChannelProcesses_test LockFileProcesses_test)
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNOVELLE_TSAN=ON \
      -DTARNOVELLE_BUILD_BENCH=OFF -DTARNOVELLE_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-tsan -j"$jobs" --target "${thread_tests[@]}"
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
(cd build-tsan && ctest --output-on-failure -j"$jobs" -R "^($(IFS='|'; echo "${thread_tests[*]}"))\$")
