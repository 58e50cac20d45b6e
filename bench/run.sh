#!/usr/bin/env bash
# Benchmarks every effect that `zelfx list --bench` names and prints one table row per effect,
# then, when ZEL_TOOLKIT_BENCH names the toolkit harness (zel_toolkit_bench), its table. With
# ZEL_BENCH_JSON set, the rows are also written there as a JSON array, one object per row with
# every figure `zelfx bench` printed for it.
# usage: [ZEL_BENCH_JSON=FILE] [ZEL_TOOLKIT_BENCH=PATH] bench/run.sh ZELFX [zelfx bench options, e.g. --size 640x480 --repeat 3]
set -euo pipefail

if [[ $# -lt 1 ]]; then
  echo "usage: $0 ZELFX [bench options]" >&2
  exit 2
fi
zelfx=$1
shift

effects=$("$zelfx" list --bench)
printf '%-24s %11s %9s %9s %11s %14s %10s %11s\n' effect 'median ms' 'ns/pixel' 'x memcpy' \
  'x fresh cpy' 'magick bare ms' 'x bare' 'preview ms'
failed=0
errors=$(mktemp)
json_rows=()
trap 'rm -f "$errors"' EXIT
# bench_row LABEL EFFECT [options]: one table row. One failing effect must not hide the figures
# of the others; its messages are shown, the chatter of successful runs is not.
bench_row() {
  local label=$1 effect=$2
  shift 2
  if output=$("$zelfx" bench "$effect" "$@" 2>"$errors"); then
    awk -F '\t' -v label="$label" '
      { value[$1] = $2 }
      END { bare = ("magick_bare_ms" in value) ? sprintf("%.1f", value["magick_bare_ms"]) : "-"
            ratio = ("ratio_to_magick_bare" in value) ? sprintf("%.2f", value["ratio_to_magick_bare"]) : "-"
            printf "%-24s %11.1f %9.3f %9.2f %11.2f %14s %10s %11.1f\n", label, value["median_ms"],
                   value["ns_per_pixel"], value["ratio_to_memcpy"], value["ratio_to_fresh_memcpy"], bare, ratio,
                   value["preview_ms"] }
    ' <<<"$output"
    json_rows+=("$(awk -F '\t' -v label="$label" '
      BEGIN { gsub(/["\\]/, "\\\\&", label); printf "{\"effect\": \"%s\"", label }
      NF == 2 { printf ", \"%s\": %s", $1, $2 }
      END { printf "}" }
    ' <<<"$output")")
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

if [[ -n "${ZEL_BENCH_JSON:-}" ]]; then
  {
    echo "["
    for i in "${!json_rows[@]}"; do
      separator=","
      [[ $i -eq $((${#json_rows[@]} - 1)) ]] && separator=""
      echo "  ${json_rows[$i]}$separator"
    done
    echo "]"
  } >"$ZEL_BENCH_JSON"
  echo
  echo "written: $ZEL_BENCH_JSON"
fi

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
