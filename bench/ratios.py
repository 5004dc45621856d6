"""Prints each benchmark's median time as a multiple of memcpy of the same image size.

A benchmark named BM_<name>_vs_<key>/<args> is also shown against BM_baseline_<key>/<args>
of the same run (for example a library's own version of the same job)."""
import json
import sys

runs = json.load(open(sys.argv[1]))["benchmarks"]
median = {r["run_name"]: r for r in runs if r.get("aggregate_name") == "median"}


def size_of(name):
    parts = name.split("/")
    return "/".join(parts[1:3]) if len(parts) >= 3 else ""


baseline = {size_of(n): r["real_time"] for n, r in median.items() if n.startswith("BM_memcpy_rows/")}
for name, r in median.items():
    if r.get("error_occurred"):
        print(f"{name:50s} ERROR: {r.get('error_message', '')}")
        continue
    base = baseline.get(size_of(name))
    mpix = r.get("items_per_second", 0) / 1e6
    ratio = f"{r['real_time'] / base:6.2f}x memcpy time" if base else ""
    stem, _, args = name.partition("/")
    if "_vs_" in stem:
        key = stem.split("_vs_", 1)[1]
        other = median.get(f"BM_baseline_{key}/{args}")
        if other:
            ratio += f"{r['real_time'] / other['real_time']:6.2f}x {key} time"
    print(f"{name:50s} {r['real_time'] / 1e3:10.1f} us {mpix:10.0f} Mpixel/s  {ratio}")
