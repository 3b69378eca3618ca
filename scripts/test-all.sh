#!/usr/bin/env bash
# Builds every preset (i386, native, asan, tsan) and runs all of their tests,
# then runs each fuzzer for a bounded time. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=(${KERROW_PRESETS:-i386 native asan tsan})
jobs=${KERROW_JOBS:-$(nproc)}
status=0
for preset in "${presets[@]}"; do
  echo "=== ${preset}: configure and build"
  cmake --preset "${preset}" > /dev/null
  cmake --build --preset "${preset}" -j "${jobs}"
  echo "=== ${preset}: test"
  # Cases that wait out real time-outs mostly sleep, so run more of them than
  # there are cores.
  if ! ctest --preset "${preset}" -j $((jobs * 3)); then
    status=1
  fi
done
if [ "${KERROW_SKIP_FUZZ:-0}" != 1 ] && [ -x scripts/run-fuzzers.sh ]; then
  echo "=== fuzz"
  scripts/run-fuzzers.sh || status=1
fi
if [ ${status} -eq 0 ]; then echo "test-all: every preset passed"; fi
exit ${status}
