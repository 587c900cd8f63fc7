#!/usr/bin/python3
"""Runs the benchmarks and prints each goal's ratio, measured in one run.

report.py BENCH_BUILD ARMHF_BUILD [--only AREA] [--write FILE]

A row's time is the median of interleaved repetitions. Instructions are those of callgrind, as the difference of two runs
of fixed length. Exit status 0 also when a goal is missed: the table says so.
"""
import argparse
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
BOX = HERE.parent / "simulator" / "box" / "module-box"
REPETITIONS = 9
MIN_TIME = "0.04"
SHORT_RUN, LONG_RUN = 200, 1200

SIZE_GOALS = [  # figure, goal, unit
    ("armhf, stripped", 160, "KiB"),
    ("x86-64, stripped", 256, "KiB"),
    ("x86-64, relocations", 1500, ""),
    ("armhf, relocations", 1500, ""),
    ("x86-64, own memory (.data, .bss, relocated pages)", 96, "KiB"),
]


def in_box(program, *options, environment=None, prefix=(), share=None):
    # One processor, like the module's: times of two threads then do not hang on where the scheduler wakes them.
    command = ["taskset", "-c", "0", str(BOX), "--bare", *(("--share", share) if share else ()), "--", *prefix,
               str(program), *options]
    return subprocess.run(command, env={**os.environ, **(environment or {})}, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True)


def times(program):
    """Median nanoseconds of every row/who of a program."""
    with tempfile.TemporaryDirectory() as scratch:
        result = pathlib.Path(scratch) / "result.json"
        done = in_box(program, f"--benchmark_out={result}", "--benchmark_out_format=json",
                      f"--benchmark_repetitions={REPETITIONS}", "--benchmark_enable_random_interleaving=true",
                      f"--benchmark_min_time={MIN_TIME}", share=scratch)
        if done.returncode != 0:
            sys.exit(f"report: {program} failed with {done.returncode}")
        runs = json.loads(result.read_text())["benchmarks"]
    scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    samples, cpu = {}, {}
    for run in runs:
        if run.get("error_occurred"):
            sys.exit(f"report: {run['name']}: {run['error_message']}")
        if run["run_type"] == "iteration":
            name = re.sub(r"/(iterations:\d+|manual_time|real_time|process_time|threads:\d+)", "", run["name"])
            samples.setdefault(name, []).append(run["real_time"] * scale[run["time_unit"]])
            cpu.setdefault(name, []).append(run["cpu_time"] * scale[run["time_unit"]])
    return ({name: statistics.median(values) for name, values in samples.items()},
            {name: statistics.median(values) for name, values in cpu.items()})


def instructions(program, name):
    """Instructions of one iteration of a row/who."""
    def total(iterations):
        valgrind = ("valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/stdout")
        done = in_box(program, f"--benchmark_filter=^{re.escape(name)}(/|$)",
                      environment={"VEK_BENCH_ITERATIONS": str(iterations)}, prefix=valgrind)
        return int(re.search(r"^(?:summary|totals): (\d+)", done.stdout, re.M).group(1))
    return (total(LONG_RUN) - total(SHORT_RUN)) / (LONG_RUN - SHORT_RUN)


def sizes(bench_build, armhf_build):
    figures = {}
    with tempfile.TemporaryDirectory() as scratch:
        for label, library, tools in (("x86-64", bench_build / "libvek_pal.so.1", ""),
                                      ("armhf", armhf_build / "libvek_pal.so.1", "arm-linux-gnueabihf-")):
            stripped = shutil.copy(library.resolve(), scratch)
            subprocess.run([tools + "strip", stripped], check=True)
            figures[f"{label}, stripped"] = os.path.getsize(stripped) / 1024
            relocations = subprocess.run([tools + "readelf", "-rW", stripped], capture_output=True, text=True).stdout
            figures[f"{label}, relocations"] = len(re.findall(r"^[0-9a-f]{8,}\s", relocations, re.M))
            sections = subprocess.run([tools + "readelf", "-SW", stripped], capture_output=True, text=True).stdout
            writable = re.findall(r"\S+ +\S+ +[0-9a-f]{8,} [0-9a-f]+ ([0-9a-f]+) [0-9a-f]+ +WA ", sections)
            figures[f"{label}, own memory (.data, .bss, relocated pages)"] = sum(int(size, 16) for size in writable) / 1024
    return figures


def ratio_rows(area, bench_build):
    program = bench_build / "bench" / f"{area}_bench"
    goals = json.loads((HERE / "goals" / f"{area}.json").read_text())
    took, cpu = times(program)
    counted = {}
    for goal in goals:
        ours, against = f"{goal['row']}/ours", f"{goal['row']}/{goal['against']}"
        if goal["measure"] == "instructions":
            for name in (ours, against):
                if name not in counted:
                    counted[name] = instructions(program, name)
            figures, unit = counted, "instr."
        elif goal["measure"] == "cpu":
            figures, unit = cpu, "ns CPU"
        else:
            figures, unit = took, "ns"
        ratio = figures[ours] / figures[against]
        yield (goal["row"], goal["against"].removeprefix("peer:"), f"{figures[ours]:.0f} {unit}",
               f"{figures[against]:.0f} {unit}", f"{ratio:.2f}", f"{goal['at_most']:.2f}",
               "met" if ratio <= goal["at_most"] else "MISSED")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("bench_build", type=pathlib.Path)
    parser.add_argument("armhf_build", type=pathlib.Path)
    parser.add_argument("--only", metavar="AREA", help="one area's rows, without the sizes")
    parser.add_argument("--write", metavar="FILE", help="also write the tables to FILE")
    options = parser.parse_args()
    out = open(options.write, "w") if options.write else None

    def say(line):
        print(line, flush=True)
        if out:
            print(line, file=out)

    areas = [options.only] if options.only else sorted(path.stem for path in (HERE / "goals").glob("*.json"))
    say("| operation | against | ours | theirs | ratio | goal | |\n|---|---|--:|--:|--:|--:|---|")
    for area in areas:
        for row in ratio_rows(area, options.bench_build):
            say("| " + " | ".join(row) + " |")
    if not options.only:
        figures = sizes(options.bench_build, options.armhf_build)
        say("\n| size | | goal | |\n|---|--:|--:|---|")
        for name, goal, unit in SIZE_GOALS:
            verdict = "met" if figures[name] <= goal else "MISSED"
            say(f"| {name} | {figures[name]:.0f} {unit} | {goal} {unit} | {verdict} |")


if __name__ == "__main__":
    main()
