#!/usr/bin/env bash
# Runs every fuzz target of a build made with ZEL_FUZZ=ON, with the libFuzzer options given (for
# example -runs=100000 or -max_total_time=5), and prints how many inputs each ran.
#
# usage: fuzz/run.sh BUILD_DIR LIBFUZZER_OPTION... [-- TARGET...]
#
# The corpus in fuzz/corpus/<target> seeds each run and is never written: new inputs go to
# BUILD_DIR/fuzz/corpus/<target>, crashes and leaks to BUILD_DIR/fuzz/artifacts/<target>/,
# the full output to BUILD_DIR/fuzz/logs/<target>.log. Exits non-zero when a target fails.
# With ZEL_FUZZ_FRESH=1 the inputs of earlier runs are left out and new ones thrown away: libFuzzer
# replays its whole corpus before the time limit counts, so short runs start from the seeds alone.
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
shift
options=()
targets=()
while [[ $# -gt 0 ]]; do
  if [[ "$1" == "--" ]]; then shift; targets=("$@"); break; fi
  options+=("$1"); shift
done
[[ ${#targets[@]} -gt 0 ]] || targets=(fuzz_parameter_xml fuzz_container_xml fuzz_zelfx_settings fuzz_effect_image)

export QT_QPA_PLATFORM=offscreen
# Leaks are reported; ImageMagick's and Qt's own allocations that live until exit are not ours.
export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1:quarantine_size_mb=64:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$here/lsan.supp:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}"

status=0
for target in "${targets[@]}"; do
  work="$build/fuzz/corpus/$target"
  if [[ "${ZEL_FUZZ_FRESH:-0}" == 1 ]]; then
    work="$build/fuzz/fresh/$target"
    rm -rf "$work"
  fi
  artifacts="$build/fuzz/artifacts/$target"
  log="$build/fuzz/logs/$target.log"
  mkdir -p "$work" "$artifacts" "$(dirname "$log")"
  extra=()
  case "$target" in
    *_xml | *_settings) extra+=("-dict=$here/settings.dict") ;;
  esac
  start=$(date +%s)
  "$build/fuzz/$target" "${options[@]}" "${extra[@]}" -timeout=60 -print_final_stats=1 \
    -artifact_prefix="$artifacts/" "$work" "$here/corpus/$target" >"$log" 2>&1
  result=$?
  seconds=$(( $(date +%s) - start ))
  runs=$(sed -n 's/^Done \([0-9]*\) runs.*/\1/p' "$log" | tail -n 1)
  if [[ $result -eq 0 ]]; then
    printf '%-22s %8s inputs in %4ss, no crash, leak or sanitizer report\n' "$target" "${runs:-?}" "$seconds"
  else
    printf '%-22s FAILED after %ss (exit %s); log: %s\n' "$target" "$seconds" "$result" "$log"
    grep -E 'ERROR:|SUMMARY:|runtime error|qFatal|Test unit written' "$log" | head -n 20
    status=1
  fi
done
exit $status
