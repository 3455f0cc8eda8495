#!/usr/bin/env bash
# Times the whole brelk-worldgen run, the way a developer meets it, against the cost of merely
# copying what it wrote: `cp -r` of the cells folder, the world asset and the persistent scene
# is taken as the floor of writing those bytes, so the ratio tool/floor shows how much the
# generation itself costs on top of the disk. Then the default world's wall time against the
# number of worker threads (BRELK_WORKER_THREADS 1, 2 and the machine's cores), and the peak
# resident memory of three grid sizes, which should stay flat: each thread keeps one cell in
# memory at a time.
#
# Usage: bench/worldgen.sh [path/to/brelk-worldgen]
# Environment: WORLDGEN_BENCH_RUNS (runs of the default world, 5),
#              WORLDGEN_BENCH_RUNS_96 (runs of --cells 96, 3; 0 skips that case),
#              WORLDGEN_BENCH_RUNS_WORKERS (runs per worker count, 3; 0 skips the table),
#              TMPDIR (where the scratch folder goes).
# Every run writes into a fresh content folder, so that no run finds sidecars or cells of the
# one before it; the scratch folder is removed on every way out.

set -euo pipefail

tool=${1:-build/tools/worldgen/brelk-worldgen}
runs_default=${WORLDGEN_BENCH_RUNS:-5}
runs_large=${WORLDGEN_BENCH_RUNS_96:-3}
runs_workers=${WORLDGEN_BENCH_RUNS_WORKERS:-3}
rss_cells=(8 32 96)

for count in "$runs_default" "$runs_large" "$runs_workers"; do
    if ! [[ $count =~ ^[0-9]+$ ]]; then
        echo "worldgen.sh: run counts must be whole numbers, got '$count'" >&2
        exit 2
    fi
done

if [[ ! -x $tool ]]; then
    echo "worldgen.sh: no executable tool at '$tool'; build the target brelk-worldgen (Release) first" >&2
    exit 2
fi
tool=$(cd "$(dirname "$tool")" && pwd)/$(basename "$tool")

scratch=$(mktemp -d "${TMPDIR:-/tmp}/worldgen-bench.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' INT TERM

source "$(dirname "${BASH_SOURCE[0]}")/timing.sh"

# Runs the tool into a new content folder under the scratch folder; its output goes to a log
# that is shown only when the tool fails.
run_tool() {
    local content=$1
    shift
    local log=$scratch/tool.log
    local status=0
    "$tool" --content "$content" "$@" >"$log" 2>&1 || status=$?
    if ((status != 0)); then
        echo "worldgen.sh: brelk-worldgen --content $content $* failed with status $status:" >&2
        cat "$log" >&2
        exit 1
    fi
}

# The bytes a world run leaves behind that a copy has to write as well, as paths relative to
# the content folder. One that a run did not write is noted and left out of the floor.
outputs=(Worlds/Procedural.bworld.cells Worlds/Procedural.bworld Scenes/Main.bscene)
missing=()

rows=()

# One case: `runs` fresh generations, each followed by the timed copy of what it wrote.
# The outputs stay until the case is over: ext4 steps around the inodes of files deleted in
# the last minutes when it allocates new ones, so a run made right after removing the last
# one's thousands of files pays for that search, and the copy, made after no removal, would
# not; keeping them levels the two.
time_case() {
    local label=$1 runs=$2
    shift 2
    local -a tool_ms=() copy_ms=()
    local bytes=0 files=0 i start end content copy output
    local -a present=() made=()
    for ((i = 1; i <= runs; i++)); do
        content=$scratch/content-$i
        start=$(now_ns)
        run_tool "$content" "$@"
        end=$(now_ns)
        tool_ms+=("$(elapsed_ms "$start" "$end")")

        copy=$scratch/copy-$i
        present=()
        for output in "${outputs[@]}"; do
            if [[ -e $content/$output ]]; then
                present+=("$output")
                mkdir -p "$copy/$(dirname "$output")"
            elif ((i == 1)) && [[ " ${missing[*]} " != *" $output "* ]]; then
                missing+=("$output")
            fi
        done
        start=$(now_ns)
        for output in "${present[@]}"; do
            cp -r "$content/$output" "$copy/$output"
        done
        end=$(now_ns)
        copy_ms+=("$(elapsed_ms "$start" "$end")")

        if ((i == 1)) && ((${#present[@]} > 0)); then
            bytes=$(cd "$content" && find "${present[@]}" -type f -printf '%s\n' | awk '{ s += $1 } END { print s + 0 }')
            files=$(cd "$content" && find "${present[@]}" -type f | wc -l)
        fi
        made+=("$content" "$copy")
    done
    rm -rf "${made[@]}"
    local tool_min tool_med copy_min copy_med
    tool_min=$(min_of "${tool_ms[@]}")
    tool_med=$(median_of "${tool_ms[@]}")
    copy_min=$(min_of "${copy_ms[@]}")
    copy_med=$(median_of "${copy_ms[@]}")
    rows+=("$(printf '%-14s %4s %11s %11s %10s %10s %7s %7s %9s %7s' "$label" "$runs" "$tool_min" "$tool_med" \
        "$copy_min" "$copy_med" "$(ratio_of "$tool_min" "$copy_min")" "$(ratio_of "$tool_med" "$copy_med")" \
        "$(awk -v b="$bytes" 'BEGIN { printf "%.1f", b / 1048576 }')" "$files")")
}

echo "brelk-worldgen: $tool"
echo "machine: $(nproc) cores; scratch in ${TMPDIR:-/tmp}"
echo

if ((runs_default > 0)); then
    time_case "default (24)" "$runs_default"
fi
if ((runs_large > 0)); then
    time_case "--cells 96" "$runs_large" --cells 96
fi

echo "wall time in ms; floor = cp -r of cells folder, world asset and scene; ratio = tool / floor"
printf '%-14s %4s %11s %11s %10s %10s %7s %7s %9s %7s\n' case runs "tool min" "tool median" "cp min" "cp median" \
    "r(min)" "r(med)" "MiB" files
for row in "${rows[@]}"; do
    echo "$row"
done
if ((${#missing[@]} > 0)); then
    echo "note: the tool wrote no ${missing[*]}; the floor covers only what it wrote"
fi
echo

if ((runs_workers > 0)); then
    echo "default world against worker threads (median of $runs_workers runs, ms)"
    printf '%-8s %11s\n' workers "tool median"
    for workers in $(printf '%s\n' 1 2 "$(nproc)" | sort -nu); do
        times=()
        for ((i = 1; i <= runs_workers; i++)); do
            content=$scratch/content-workers-$workers-$i
            start=$(now_ns)
            BRELK_WORKER_THREADS=$workers run_tool "$content"
            end=$(now_ns)
            times+=("$(elapsed_ms "$start" "$end")")
        done
        printf '%-8s %11s\n' "$workers" "$(median_of "${times[@]}")"
        rm -rf "$scratch"/content-workers-"$workers"-*
    done
    echo
fi

if [[ ! -x /usr/bin/time ]]; then
    echo "peak resident memory skipped: /usr/bin/time is missing (install the package 'time', e.g. apt-get install time)"
    exit 0
fi

echo "peak resident memory (/usr/bin/time -v, Maximum resident set size)"
printf '%-10s %10s\n' cells "max RSS MiB"
for cells in "${rss_cells[@]}"; do
    content=$scratch/content-rss-$cells
    report=$scratch/time-$cells.txt
    if ! /usr/bin/time -v -o "$report" "$tool" --content "$content" --cells "$cells" >"$scratch/tool.log" 2>&1; then
        echo "worldgen.sh: brelk-worldgen --cells $cells failed:" >&2
        cat "$scratch/tool.log" >&2
        exit 1
    fi
    kib=$(awk -F: '/Maximum resident set size/ { gsub(/ /, "", $2); print $2 }' "$report")
    printf '%-10s %10s\n' "$cells" "$(awk -v k="$kib" 'BEGIN { printf "%.1f", k / 1024 }')"
    rm -rf "$content"
done
