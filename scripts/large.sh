#!/usr/bin/env bash
# Every registered effect through `zelfx apply` on very large photos: a Markdown table of the
# computation time and the process's peak memory per effect and size.
#
#   scripts/large.sh ZELFX [SIZE...]      SIZE: 24mp 50mp 40000x10 10x40000 (default: all four)
#
# Environment: OUT (the table, default build/large.md), WORK (inputs and outputs, default
# build/large), TIMEOUT (seconds per run, default 300), EFFECTS (space-separated short names,
# default every registered effect), LIMIT_MB (run zelfx with its address space limited to that
# many MB, to see what each effect does when its memory cannot be allocated).
#
# Each cell is the time of the effect's result() as zelfx --time reports it (loading and saving
# left out) and the peak resident memory of the whole zelfx process (/usr/bin/time), which holds
# zelfx's own copy of the photo and the libraries besides the effect's work. At 24 MP the peak is
# also given in copies of the photo's pixels (width x height x 4 bytes). A run that returns a null
# image (zelfx exit status 5) says "null", one ImageMagick refused (status 6) "refused"; one killed by a signal says "CRASH"; one that takes
# longer than TIMEOUT says "timeout".
set -u

ZELFX=${1:?usage: large.sh ZELFX [SIZE...]}
shift
SIZES=("$@")
[ ${#SIZES[@]} -eq 0 ] && SIZES=(24mp 50mp 40000x10 10x40000)
OUT=${OUT:-build/large.md}
WORK=${WORK:-build/large}
TIMEOUT=${TIMEOUT:-300}
export QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-/tmp/runtime-$(id -u)}
SAMPLE=$(dirname "$0")/../samples/coffee.png # 600 x 400

mkdir -p "$WORK" "$(dirname "$OUT")"

# The Scale factors that take the 600 x 400 sample to each size.
declare -A FACTORS=([24mp]="10,10" [50mp]="14.4333333333,14.4325" [40000x10]="66.6666666667,0.025"
                    [10x40000]="0.0166666666667,100")
declare -A PIXELS=([24mp]=24000000 [50mp]=49996180 [40000x10]=400000 [10x40000]=400000)
declare -A DIMENSIONS=([24mp]=6000x4000 [50mp]=8660x5773 [40000x10]=40000x10 [10x40000]=10x40000)
declare -A TITLES=([24mp]="6000 × 4000" [50mp]="8660 × 5773" [40000x10]="40000 × 10" [10x40000]="10 × 40000")

for size in "${SIZES[@]}"; do
    [ -n "${FACTORS[$size]:-}" ] || { echo "large.sh: unknown size $size" >&2; exit 2; }
    input=$WORK/$size.bmp
    [ -s "$input" ] || "$ZELFX" apply Scale "$SAMPLE" "$input" --call "setParameters(${FACTORS[$size]})" \
        || { echo "large.sh: cannot make $input" >&2; exit 1; }
done

effects=${EFFECTS:-$("$ZELFX" list 2>/dev/null | cut -f1)}

# One run: prints the table cell.
run() {
    local effect=$1 size=$2 stats=$WORK/time.txt out=$WORK/out.bmp
    rm -f "$stats" "$out"
    (
        [ -n "${LIMIT_MB:-}" ] && ulimit -v $((LIMIT_MB * 1024))
        exec timeout -k 10 "$TIMEOUT" /usr/bin/time -f '%M' -o "$stats" \
            "$ZELFX" apply "$effect" "$WORK/$size.bmp" "$out" --time >"$WORK/stdout.txt" 2>"$WORK/stderr.txt"
    )
    local status=$?
    rm -f "$out"
    if [ $status -eq 124 ] || [ $status -eq 137 ]; then echo "timeout"; return; fi
    local kb ms
    kb=$(grep -Eo '^[0-9]+$' "$stats" 2>/dev/null | tail -1)
    ms=$(sed -n 's/^time_ms\t//p' "$WORK/stdout.txt")
    if grep -q 'signal' "$stats" 2>/dev/null || [ $status -gt 128 ]; then echo "CRASH ($status)"; return; fi
    local cell
    cell=$(awk -v ms="${ms:-0}" -v kb="${kb:-0}" 'BEGIN { printf "%.2f s, %d MB", ms / 1000, kb / 1024 }')
    if [ "$size" = 24mp ]; then
        cell="$cell, $(awk -v kb="${kb:-0}" -v px="${PIXELS[$size]}" 'BEGIN { printf "%.1f×", kb * 1024 / (px * 4) }')"
    fi
    case $status in
    0) echo "$cell" ;;
    5) echo "null ($cell)" ;;
    6) echo "refused ($cell)" ;;
    *) echo "exit $status: $(head -c 80 "$WORK/stderr.txt" | tr '\n|' '  ')" ;;
    esac
}

{
    printf '| effect |'
    for size in "${SIZES[@]}"; do printf ' %s |' "${TITLES[$size]}"; done
    printf '\n|---|'
    for size in "${SIZES[@]}"; do printf -- '---|'; done
    printf '\n'
} >"$OUT"

# The time of a memcpy of the photo, measured by zelfx bench beside a quick effect: times on a
# shared machine compare only as ratios to it.
line="| memcpy of the photo |"
for size in "${SIZES[@]}"; do
    ms=$("$ZELFX" bench Invert --size "${DIMENSIONS[$size]}" --repeat 3 2>/dev/null | sed -n 's/^memcpy_ms\t//p')
    line="$line $(awk -v ms="${ms:-0}" 'BEGIN { printf "%.3f s", ms / 1000 }') |"
done
echo "$line" >>"$OUT"

for effect in $effects; do
    line="| $effect |"
    for size in "${SIZES[@]}"; do
        cell=$(run "$effect" "$size")
        echo "$effect $size: $cell" >&2
        line="$line $cell |"
    done
    echo "$line" >>"$OUT"
done
echo "$OUT"
