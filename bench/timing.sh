# Timing helpers that the whole-run benchmark scripts source.

now_ns() { date +%s%N; }

# Milliseconds with three decimals from two nanosecond stamps.
elapsed_ms() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", (b - a) / 1e6 }'; }

min_of() { printf '%s\n' "$@" | sort -g | head -n 1; }

median_of() {
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 }
        END { if (NR % 2) printf "%.3f", v[(NR + 1) / 2]; else printf "%.3f", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

ratio_of() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }'; }
