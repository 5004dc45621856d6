#!/usr/bin/env bash
# Runs every benchmark of a bench build and prints, for each one, its time per iteration
# as a multiple of memcpy of the same rows measured in the same program run.
set -eu
build=${1:-build/bench}
shift || true
for exe in "$build"/bench/*_bench; do
    json=$(mktemp)
    "$exe" --benchmark_out="$json" --benchmark_out_format=json --benchmark_repetitions=3 \
        --benchmark_report_aggregates_only=true "$@" >/dev/null
    python3 "$(dirname "$0")/ratios.py" "$json"
    rm -f "$json"
done
