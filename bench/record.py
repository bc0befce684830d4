#!/usr/bin/env python3
"""Runs the benchmarks that the performance page shows, and writes the figures of this machine as one JSON file.

Usage: record.py PROGRAMS RESULTS [--runs N]

PROGRAMS is the folder of the benchmark programs. RESULTS is the folder with one file for each processor family. Each
row is measured N times (default: 5). The file keeps the best figure, because other work on the machine can only slow a
row down. It also keeps `noise`: the worst time of a row divided by its best time, as the median over all rows.
"""
import argparse
import datetime
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

PROGRAMS = {
    "modes": r"modes/(counter/.*/own/.*|counter/[^/]*/[0-9]+/|.*/own/(16|64|256|1024|65536)/|[^/]*/[^/]*/(64|65536)/)"
             r"|context/.*/65536|opened/",
    "gostr3411": r"hash/[^/]*/(built-in/)?[0-9]+/|hmac/.*/64/|pbkdf2",
    "sha1": r"sha1/(vrx|openssl)/",
    "ecc": r"(sign|verify|key_pair|agree)/.*/(A|C|P-256)|^hash/",
}
FAMILIES = {("AuthenticAMD", 25): "AMD Zen 3 or 4", ("AuthenticAMD", 26): "AMD Zen 5",
            ("GenuineIntel", 6, 143): "Intel Sapphire Rapids"}


def processor():
    info = Path("/proc/cpuinfo").read_text(encoding="utf-8")
    field = dict(re.findall(r"^(vendor_id|model name|cpu family|model)\s*: (.*)$", info, re.M))
    vendor, family, model = field["vendor_id"], int(field["cpu family"]), int(field["model"])
    name = FAMILIES.get((vendor, family, model)) or FAMILIES.get((vendor, family)) or field["model name"]
    return name, f"{field['model name'].strip()}, family {family}, model {model}"


def report(program, pattern, runs):
    """The reports of the repetitions of one program."""
    for run in range(runs):
        print(f"{program.name}, run {run + 1} of {runs}", file=sys.stderr)
        with tempfile.NamedTemporaryFile(suffix=".json") as out:
            command = [program, f"--benchmark_filter={pattern}", f"--benchmark_out={out.name}",
                       "--benchmark_out_format=json"]
            subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
            yield json.loads(Path(out.name).read_text(encoding="utf-8"))


def figures(row):
    """The figures of a row: MB/s and the ratio to its baseline, or microseconds."""
    if "ratio" in row:
        return {unit: row[unit] for unit in ("MB/s", "ratio") if unit in row}
    if "bytes_per_second" in row:
        return {"MB/s": row["bytes_per_second"] / 1e6}
    return {"us": row["cpu_time"] * {"ns": 1e-3, "us": 1, "ms": 1e3}[row["time_unit"]]}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=Path)
    parser.add_argument("results", type=Path)
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    load = os.getloadavg()[0]
    seen, chosen, compiler = {}, {}, None
    for name, pattern in PROGRAMS.items():
        for made in report(options.programs / f"{name}_bench", pattern, options.runs):
            compiler = made["context"].get("compiler", compiler)
            if "engine" in made["context"]:
                chosen[name] = made["context"]["engine"]
            for row in made["benchmarks"]:
                if "error_occurred" in row or row.get("aggregate_name", "median") != "median":
                    continue
                if row["run_type"] == "iteration" and row.get("repetitions", 1) > 1:
                    continue
                # Removes the settings that Google Benchmark appends to names. These settings also tell rows of curves
                # from rows of digests.
                key = re.sub(r"/(iterations|manual_time).*", "", row["run_name"])
                key = ("ecc/" if name == "ecc" else "") + key
                seen.setdefault(key, []).append(figures(row))
    rows, noise = {}, []
    for key, values in seen.items():
        best = {"ratio": statistics.median(v["ratio"] for v in values)} if "ratio" in values[0] else {}
        unit = next(unit for unit in ("MB/s", "us", "ratio") if unit in values[0])
        single = [v[unit] for v in values]
        if unit != "ratio":
            best[unit] = max(single) if unit == "MB/s" else min(single)
        noise.append(max(single) / min(single))
        rows[key] = {unit: float(f"{value:.4g}") for unit, value in best.items()}
    load = max(load, *os.getloadavg()[:2])
    name, detail = processor()
    machine = {"name": name, "processor": detail, "compiler": compiler, "date": str(datetime.date.today()),
               "runs": options.runs, "load": round(load, 1), "noise": round(statistics.median(noise), 2),
               "chosen": chosen}
    file = options.results / (re.sub(r"\W+", "-", name.lower()) + ".json")
    lines = ",\n".join(f"  {json.dumps(key)}: {json.dumps(value)}" for key, value in sorted(rows.items()))
    file.write_text(f'{{"machine": {json.dumps(machine, indent=1)},\n "rows": {{\n{lines}}}}}\n', encoding="utf-8")
    print(f"Written: {file}")


if __name__ == "__main__":
    main()
