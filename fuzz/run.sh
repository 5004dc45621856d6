#!/usr/bin/env bash
# Runs every fuzz target for the given number of seconds each, one after the other.
set -eu
build=$1
seconds=${2:-600}
for target in "$build"/fuzz/*_fuzz; do
    name=$(basename "$target")
    corpus=build/fuzz-corpus/$name
    mkdir -p "$corpus"
    echo "== $name for ${seconds}s"
    "$target" -max_total_time="$seconds" -print_final_stats=1 "$corpus" 2>&1 | tail -n 20
done
