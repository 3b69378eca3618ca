#!/bin/sh
# Builds the benchmarks of the native preset and runs each with quick
# defaults; every benchmark ends with a RESULT line, gathered at the end.
#
#   bench/run.sh            quick: 256 MiB transfers, 3 runs each, windows of 2 s
#   bench/run.sh full       1 GiB transfers, 5 runs each, windows of 5 s
#
# The figures are medians of runs made side by side with a raw TCP client in
# the same process; on a loaded machine repeat the run and compare.
set -eu
cd "$(dirname "$0")/.."
export CCACHE_DIR="${CCACHE_DIR:-/root/.cache/kerrow-ccache}" CCACHE_BASEDIR="${CCACHE_BASEDIR:-/work}"

if [ "${1:-quick}" = full ]; then
    bytes=1G runs=5 window=5 repetitions=15
else
    bytes=256M runs=3 window=2 repetitions=7
fi

cmake --preset native >/dev/null
cmake --build --preset native -j2 --target bench_control bench_exchange_parts bench_log \
    bench_transfer bench_playbacks

bin=build/native/bench
out=$(mktemp)
trap 'rm -f "$out"' EXIT
"$bin/bench_control" --benchmark_repetitions=$repetitions | tee -a "$out"
"$bin/bench_exchange_parts" --benchmark_min_time=0.2 | tee -a "$out"
"$bin/bench_log" --benchmark_min_time=0.2 | tee -a "$out"
# Both sides of the download write to tmpfs when there is one: the disk's
# write-back comes at random moments and would weigh on one run or another.
transferDir=${TMPDIR:-/tmp}
if [ -d /dev/shm ] && [ -w /dev/shm ]; then transferDir=/dev/shm; fi
TMPDIR=$transferDir "$bin/bench_transfer" $bytes $runs | tee -a "$out"
"$bin/bench_playbacks" 200 $window | tee -a "$out"

echo
echo "load average: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores"
grep -o 'RESULT .*' "$out"
