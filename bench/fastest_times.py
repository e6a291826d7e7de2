"""The times of Google Benchmark JSON results, for bench/run.sh and
bench/run-windows.sh."""
import json
import sys

NS_PER_UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def fastest(paths):
    """Real time in ns per benchmark: the fastest of its repetitions, the
    estimate least disturbed by whatever else the machine is doing. Exits
    with the message of a benchmark that failed."""
    times = {}
    for path in paths:
        with open(path) as f:
            entries = json.load(f)["benchmarks"]
        for e in entries:
            if e.get("error_occurred"):
                sys.exit(f"{e['name']}: {e.get('error_message', 'failed')}")
            if e.get("run_type") == "aggregate":
                continue
            ns = e["real_time"] * NS_PER_UNIT[e["time_unit"]]
            name = e.get("run_name", e["name"])
            times[name] = min(ns, times.get(name, ns))
    return times
