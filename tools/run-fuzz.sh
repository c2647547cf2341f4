#!/usr/bin/env bash
# Builds the libFuzzer targets (the fuzz preset: clang with the address and
# undefined-behaviour sanitizers), writes their seed corpus, and runs each
# target for the given time, one after the other. Fails on any report and
# prints per target how many inputs libFuzzer ran.
#
#   bash tools/run-fuzz.sh [seconds-per-target]        (default 60)
#
# Under build/fuzz: seeds/ the seed corpus, made anew each time; corpus/TARGET
# what each target has found, kept from run to run; logs/TARGET.log the
# fuzzer's output; artifacts/ the inputs behind a report.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
out=build/fuzz

bash tools/install-packages.sh cmake ninja-build clang-14 libclang-rt-14-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
rm -rf "$out/seeds"
"$out/tools/fuzz/qv_fuzz_seeds" "$out/seeds"
mkdir -p "$out/logs" "$out/artifacts"

targets=(execute load load_execute restore)
declare -A seedsOf=([execute]=execute [load]=executables [load_execute]=executables [restore]=states)
summary=()
failed=0
for target in "${targets[@]}"; do
  mkdir -p "$out/corpus/$target"
  log="$out/logs/$target.log"
  echo "fuzzing $target for ${seconds} s"
  if "$out/tools/fuzz/qv_fuzz_$target" -max_total_time="$seconds" -timeout=30 -print_final_stats=1 \
    -artifact_prefix="$out/artifacts/$target-" "$out/corpus/$target" "$out/seeds/${seedsOf[$target]}" \
    >"$log" 2>&1; then
    runs=$(sed -n 's/^Done \([0-9]*\) runs in \([0-9]*\) second.*/\1 runs in \2 s/p' "$log" | tail -n 1)
    summary+=("fuzz $target: ${runs:-? runs}, no report")
  else
    tail -n 60 "$log"
    summary+=("fuzz $target: REPORT (see $log)")
    failed=$((failed + 1))
  fi
done
printf '%s\n' "${summary[@]}"
echo "fuzz: $((${#targets[@]} - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]
