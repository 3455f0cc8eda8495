#!/usr/bin/env bash
# Times brelk-worldview, the check alone and the check with its picture, against the cost of
# merely reading the same bytes: `cat` of the world asset and every cell file into the null
# device is the floor, taken in the same run, so the ratios show what parsing and drawing cost
# on top of the reads. The worlds are generated once per case, untimed, and read once before
# timing so that every run meets them in the page cache. Then the peak resident memory of the
# check and of the picture for three grid sizes: the check should stay flat, the picture grow
# only with its image.
#
# Usage: bench/worldview.sh [path/to/brelk-worldview] [path/to/brelk-worldgen]
# Environment: WORLDVIEW_BENCH_RUNS (runs of the default world, 5),
#              WORLDVIEW_BENCH_RUNS_96 (runs of --cells 96, 3; 0 skips that case),
#              TMPDIR (where the scratch folder goes; --cells 96 needs about 1 GB).

set -euo pipefail

viewer=${1:-build/tools/worldview/brelk-worldview}
generator=${2:-build/tools/worldgen/brelk-worldgen}
runs_default=${WORLDVIEW_BENCH_RUNS:-5}
runs_large=${WORLDVIEW_BENCH_RUNS_96:-3}
rss_cells=(8 32 96)

for count in "$runs_default" "$runs_large"; do
    if ! [[ $count =~ ^[0-9]+$ ]]; then
        echo "worldview.sh: run counts must be whole numbers, got '$count'" >&2
        exit 2
    fi
done
for tool in "$viewer" "$generator"; do
    if [[ ! -x $tool ]]; then
        echo "worldview.sh: no executable at '$tool'; build brelk-worldview and brelk-worldgen (Release) first" >&2
        exit 2
    fi
done

scratch=$(mktemp -d "${TMPDIR:-/tmp}/worldview-bench.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' INT TERM

source "$(dirname "${BASH_SOURCE[0]}")/timing.sh"

generate() {
    local content=$1
    shift
    if ! "$generator" --content "$content" "$@" >"$scratch/gen.log" 2>&1; then
        echo "worldview.sh: brelk-worldgen $* failed:" >&2
        cat "$scratch/gen.log" >&2
        exit 1
    fi
}

read_floor() {
    local world=$1
    cat "$world" >/dev/null
    find "$world.cells" -type f -name '*.bcell' -print0 | xargs -0 cat >/dev/null
}

view() {
    if ! "$viewer" --world "$@" >"$scratch/view.log" 2>&1; then
        echo "worldview.sh: brelk-worldview --world $* failed:" >&2
        cat "$scratch/view.log" >&2
        exit 1
    fi
}

rows=()

time_case() {
    local label=$1 runs=$2
    shift 2
    local content=$scratch/content-$runs-${label//[^a-z0-9]/}
    generate "$content" "$@"
    local world=$content/Worlds/Procedural.bworld
    read_floor "$world"
    local -a floor_ms=() check_ms=() png_ms=()
    local i start end
    for ((i = 1; i <= runs; i++)); do
        start=$(now_ns); read_floor "$world"; end=$(now_ns)
        floor_ms+=("$(elapsed_ms "$start" "$end")")
        start=$(now_ns); view "$world"; end=$(now_ns)
        check_ms+=("$(elapsed_ms "$start" "$end")")
        start=$(now_ns); view "$world" --png "$scratch/picture.png"; end=$(now_ns)
        png_ms+=("$(elapsed_ms "$start" "$end")")
    done
    local mib pixels
    mib=$(find "$world.cells" -type f -printf '%s\n' | awk '{ s += $1 } END { printf "%.1f", s / 1048576 }')
    pixels=$(sed -n 's/.*, \([0-9]* x [0-9]*\) pixels\./\1/p' "$scratch/view.log")
    local floor_min check_min png_min
    floor_min=$(min_of "${floor_ms[@]}")
    check_min=$(min_of "${check_ms[@]}")
    png_min=$(min_of "${png_ms[@]}")
    rows+=("$(printf '%-14s %4s %9s %9s %9s %9s %9s %9s %7s %7s %8s  %s' "$label" "$runs" \
        "$floor_min" "$(median_of "${floor_ms[@]}")" "$check_min" "$(median_of "${check_ms[@]}")" \
        "$png_min" "$(median_of "${png_ms[@]}")" "$(ratio_of "$check_min" "$floor_min")" \
        "$(ratio_of "$png_min" "$floor_min")" "$mib" "$pixels")")
    rm -rf "$content" "$scratch/picture.png"
}

echo "brelk-worldview: $viewer"
echo "machine: $(nproc) cores; scratch in ${TMPDIR:-/tmp}"
echo

if ((runs_default > 0)); then
    time_case "default (24)" "$runs_default"
fi
if ((runs_large > 0)); then
    time_case "--cells 96" "$runs_large" --cells 96
fi

echo "wall time in ms; floor = cat of the world asset and every cell file into /dev/null; ratios of the minima"
printf '%-14s %4s %9s %9s %9s %9s %9s %9s %7s %7s %8s  %s\n' case runs "cat min" "cat med" "check min" \
    "check med" "png min" "png med" "r(chk)" "r(png)" "MiB" picture
for row in "${rows[@]}"; do
    echo "$row"
done
echo

if [[ ! -x /usr/bin/time ]]; then
    echo "peak resident memory skipped: /usr/bin/time is missing (install the package 'time', e.g. apt-get install time)"
    exit 0
fi

rss_mib() {
    local report=$scratch/time.txt
    if ! /usr/bin/time -v -o "$report" "$viewer" --world "$@" >"$scratch/view.log" 2>&1; then
        echo "worldview.sh: brelk-worldview --world $* failed:" >&2
        cat "$scratch/view.log" >&2
        exit 1
    fi
    awk -F: '/Maximum resident set size/ { gsub(/ /, "", $2); printf "%.1f", $2 / 1024 }' "$report"
}

echo "peak resident memory (/usr/bin/time -v, Maximum resident set size)"
printf '%-8s %12s %14s %16s\n' cells "check MiB" "png MiB" "picture"
for cells in "${rss_cells[@]}"; do
    content=$scratch/content-rss-$cells
    generate "$content" --cells "$cells"
    world=$content/Worlds/Procedural.bworld
    check=$(rss_mib "$world")
    png=$(rss_mib "$world" --png "$scratch/picture.png")
    pixels=$(sed -n 's/.*, \([0-9]* x [0-9]*\) pixels\./\1/p' "$scratch/view.log")
    printf '%-8s %12s %14s %16s\n' "$cells" "$check" "$png" "$pixels"
    rm -rf "$content"
done
