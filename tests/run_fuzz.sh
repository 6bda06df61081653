#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a fixed number of
# inputs, seeded with the files the tests wrote (run the tests first with
# TNVL_FUZZ_SEEDS=<seeds>). Usage: tests/run_fuzz.sh <seeds> [runs]
set -euo pipefail
cd "$(dirname "$0")/.."
seeds=$(realpath -m "${1:?usage: tests/run_fuzz.sh <seeds folder> [runs]}")
runs=${2:-10000}
jobs=$(nproc)

cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNOVELLE_FUZZ=ON \
      -DTARNOVELLE_BUILD_TESTS=OFF -DTARNOVELLE_BUILD_BENCH=OFF -DTARNOVELLE_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-fuzz -j"$jobs" --target ChannelFiles_fuzz XmlDocument_fuzz ConfDataFile_fuzz ProjectFile_fuzz

# The library's module writes its ini and log files: below the build tree,
# never in the user's own settings.
export XDG_CONFIG_HOME="$PWD/build-fuzz/config"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:halt_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run() {
  local target=$1 corpus=$2 count=$3
  local work="build-fuzz/corpus/$corpus"
  rm -rf "$work" && mkdir -p "$work" "$seeds/$corpus"
  # New inputs go to the work folder; the seeds stay as the tests wrote them.
  # A reader must never ask for more than its files could hold: any single
  # allocation above the limit is a failure.
  (cd build-fuzz && "tests/fuzz/$target" -runs="$count" -seed=1 -malloc_limit_mb=256 -rss_limit_mb=2048 \
      -max_len=65536 -timeout=30 -print_final_stats=1 "corpus/$corpus" "$seeds/$corpus" 2>&1 | tail -12)
}
run ChannelFiles_fuzz channel "$runs"
run XmlDocument_fuzz xml "$((runs * 5))"
run ConfDataFile_fuzz confdata "$runs"
run ProjectFile_fuzz project "$runs"
echo "fuzz: $runs channel inputs, $((runs * 5)) XML documents, $runs measuring-point files and $runs project files, no failure"
