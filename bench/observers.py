#!/usr/bin/env python3
"""What observing costs: the pipeline chain.yaml, five nodes on 1920x1080 frames, as it is and with its observers. The
runs take turns; each is held against the unobserved one of its round, and the ratios are medians. A program's start and
end count, which are the same for all.

usage: observers.py BUILD_FOLDER [--frames 500] [--rounds 7] [--threads 2] [--json FILE] [--markdown]"""

import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import pipelines

here = pathlib.Path(__file__).resolve().parent


def ways(folder):
    """What is observed, and the arguments for it."""
    stats, trace = [f"--stats={folder}/stats.json"], ["--trace", f"{folder}/trace.json"]
    tap = ["--tap", f"smooth@::100={folder}/{{tick}}.png"]
    return {"nothing": [], "statistics": stats, "trace": trace, "statistics, trace, a tap of each 100th tick": stats +
            trace + tap, "a tap of each tick": ["--tap", f"smooth={folder}/all-{{tick}}.png"]}


def run(command):
    """Seconds by the clock, and of all cores."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    messages = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"observers.py: {' '.join(command)} failed:\n{messages.decode()}")
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime


def measure(arguments, folder):
    film, _ = pipelines.make_film("coffee.png", f"{folder}/film")
    command = [f"{arguments.build}/bin/zun", "run", str(here / "pipelines/chain.yaml"), "-D", f"film={film}",
               "--frames", f"0:{arguments.frames}", "--threads", str(arguments.threads)]
    run(command)  # the film is in memory after this
    seconds = {name: [] for name in ways(folder)}
    for _ in range(arguments.rounds):
        for name, observers in ways(folder).items():
            seconds[name].append(run(command + observers))
    results = {}
    for name, runs in seconds.items():
        ratios = [[one[i] / bare[i] for one, bare in zip(runs, seconds["nothing"])] for i in (0, 1)]
        results[name] = {"framesPerSecond": arguments.frames / statistics.median(one[0] for one in runs),
                         "clock": statistics.median(ratios[0]), "cores": statistics.median(ratios[1])}
    return results


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("usage: ")[1])
    parser.add_argument("build")
    parser.add_argument("--frames", type=int, default=500)
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--json")
    parser.add_argument("--markdown", action="store_true")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        results = measure(arguments, folder)
    if arguments.markdown:
        print("| observed | frames a second | time | time of all cores |\n|---|---|---|---|")
    for name, result in results.items():
        numbers = [f"{result['framesPerSecond']:.1f}", f"{result['clock']:.3f}", f"{result['cores']:.3f}"]
        if arguments.markdown:
            print(f"| {name} | {' | '.join(numbers)} |")
        else:
            print(f"{name:<46}{numbers[0]:>8} frames a second, time x {numbers[1]}, of all cores x {numbers[2]}")
    if arguments.json:
        pathlib.Path(arguments.json).write_text(json.dumps(results, indent=1))


if __name__ == "__main__":
    main()
