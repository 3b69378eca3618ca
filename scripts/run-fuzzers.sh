#!/usr/bin/env bash
# Builds the libFuzzer targets (the fuzz preset) and runs each for a bounded
# time over its corpus. Exits non-zero when a target crashes, leaks, hangs or
# runs out of memory; the input that did it is kept under the build folder.
#
#   KERROW_FUZZ_SECONDS     run time per target (default 60)
#   KERROW_FUZZ_BUILD_DIR   build folder (default build/fuzz)
#   KERROW_FUZZ_CMAKE_ARGS  extra arguments for the configure step
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${KERROW_FUZZ_BUILD_DIR:-$root/build/fuzz}
seconds=${KERROW_FUZZ_SECONDS:-60}
targets=(fuzz_framing fuzz_replies fuzz_requests)

cd "$root"
# shellcheck disable=SC2086
cmake --preset fuzz -B "$build" ${KERROW_FUZZ_CMAKE_ARGS:-} >/dev/null
cmake --build "$build" --target "${targets[@]}"

# New inputs and the log files of the readers go to a scratch folder; the
# checked-in corpus is only read.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
artifacts="$build/fuzz-artifacts"
mkdir -p "$artifacts"

status=0
for target in "${targets[@]}"; do
    mkdir -p "$scratch/$target/corpus"
    echo "== $target: ${seconds}s"
    if ! (cd "$scratch/$target" &&
          ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
          "$build/fuzz/$target" -max_total_time="$seconds" -timeout=5 -rss_limit_mb=2048 \
              -detect_leaks=1 -print_final_stats=1 -dict="$root/fuzz/protocol.dict" \
              -artifact_prefix="$artifacts/$target-" \
              corpus "$root/fuzz/corpus/$target" >"$scratch/$target.log" 2>&1); then
        status=1
        echo "$target FAILED; the last lines of its output:"
        tail -n 40 "$scratch/$target.log"
        ls -l "$artifacts" | grep -- "$target-" || true
    else
        grep -E '^stat::number_of_executed_units|^Done' "$scratch/$target.log" || true
    fi
done
exit "$status"
