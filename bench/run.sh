#!/usr/bin/env bash
# Benchmarks every effect that `zelfx list --bench` names and prints one table row per effect,
# then, when ZEL_TOOLKIT_BENCH names the toolkit harness (zel_toolkit_bench), its table.
# usage: [ZEL_TOOLKIT_BENCH=PATH] bench/run.sh ZELFX [zelfx bench options, e.g. --size 640x480 --repeat 3]
set -euo pipefail

if [[ $# -lt 1 ]]; then
  echo "usage: $0 ZELFX [bench options]" >&2
  exit 2
fi
zelfx=$1
shift

effects=$("$zelfx" list --bench)
printf '%-24s %12s %10s %16s %22s %20s\n' effect 'median ms' 'ns/pixel' 'ratio to memcpy' 'ratio to fresh memcpy' \
  'magick round trip ms'
failed=0
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
# bench_row LABEL EFFECT [options]: one table row. One failing effect must not hide the figures
# of the others; its messages are shown, the chatter of successful runs is not.
bench_row() {
  local label=$1 effect=$2
  shift 2
  if output=$("$zelfx" bench "$effect" "$@" 2>"$errors"); then
    awk -F '\t' -v label="$label" '
      { value[$1] = $2 }
      END { roundTrip = ("magick_roundtrip_ms" in value) ? sprintf("%.3f", value["magick_roundtrip_ms"]) : "-"
            printf "%-24s %12.3f %10.3f %16.2f %22.2f %20s\n", label, value["median_ms"], value["ns_per_pixel"],
                   value["ratio_to_memcpy"], value["ratio_to_fresh_memcpy"], roundTrip }
    ' <<<"$output"
  else
    printf '%-24s %s\n' "$label" "failed (exit $?)"
    sed 's/^/    /' "$errors"
    failed=1
  fi
}

for effect in $effects; do
  bench_row "$effect" "$effect" "$@"
done
# Convolution's default kernel is empty; its speed is that of the separable 13-tap Gaussian of
# sigma 2 (generateGaussFilter(2.0, 6, ...)), which the drop shadow's blur runs as well.
bench_row "Convolution 13-tap" Convolution "$@" --call \
  "setParameters(11108,43936,135335,324652,606530,882496,1000000,882496,606530,324652,135335,43936,11108,5008122.486107681)"

if [[ -n "${ZEL_TOOLKIT_BENCH:-}" ]]; then
  echo
  # Google Benchmark's own report is long; only the harness's ratio table is shown here.
  if ! "$ZEL_TOOLKIT_BENCH" --benchmark_format=console --benchmark_color=false 2>"$errors" \
      | sed -n '/^toolkit operation/,$p'; then
    echo "zel_toolkit_bench failed"
    sed 's/^/    /' "$errors"
    failed=1
  fi
fi
exit $failed
