#!/usr/bin/env python3
"""Whole pipelines, from a raw film of 1920x1080 frames to nothing, with one thread and with two: frames a second and
peak memory. The first runs beside the same chain written with OpenCV and as an FFmpeg filter graph. The programs take
turns. Times are medians; a program's start and end don't count, because the time of a short run is subtracted.

usage: pipelines.py BUILD_FOLDER [--frames 300] [--rounds 3] [--json FILE] [--markdown]"""

import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

columns, rows = 1920, 1080
film_frames = 20  # each film is played over and over
short_run = 20
here = pathlib.Path(__file__).resolve().parent
photos = here.parent / "examples/photos"
filters = "scale=1280:720:flags=bilinear,format=gray,avgblur=4,edgedetect=low=20/255:high=60/255"


def make_film(photo, stem):
    """A frame moves over an enlarged photo. Once with a header and once without; returns both files."""
    files = [f"{stem}.nut", f"{stem}.rgb"]
    enlarge = f"scale={columns + 120}:{rows + 120},crop={columns}:{rows}:x=n*6:y=n*4,format=rgb24"
    command = ["ffmpeg", "-v", "error", "-loop", "1", "-i", str(photos / photo), "-filter_complex",
               f"{enlarge},split[a][b]"]
    for label, file, form in zip("ab", files, ["nut", "rawvideo"]):
        command += ["-map", f"[{label}]", "-frames:v", str(film_frames), "-c:v", "rawvideo", "-f", form, file]
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL)
    return files


def run(command):
    """Seconds and peak memory in bytes."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    messages = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"pipelines.py: {' '.join(command)} failed:\n{messages.decode()}")
    return seconds, usage.ru_maxrss * 1024


def commands(binaries, folder):
    """What is measured, by pipeline, program and threads: from a number of frames to a command."""
    def zun(pipeline, film, threads):
        return lambda frames: [
            f"{binaries}/zun", "run", str(here / f"pipelines/{pipeline}.yaml"), "-D", f"film={film}", "--frames",
            f"0:{frames}", "--threads", str(threads)]

    def opencv(film, threads):
        return lambda frames: [f"{binaries}/bench_opencv_chain", film, str(columns), str(rows), str(frames),
                               str(threads)]

    def ffmpeg(film, threads):
        return lambda frames: ["ffmpeg", "-v", "error", "-threads", str(threads), "-filter_threads", str(threads),
                               "-stream_loop", "-1", "-i", film, "-vf", filters, "-frames:v", str(frames), "-f", "null",
                               "-"]

    films = {}
    for pipeline, photo in [("chain", "coffee.png"), ("coins", "coins.png"), ("faces-off", "chelsea.png")]:
        films[pipeline] = make_film(photo, f"{folder}/{pipeline}")
    film, bare_film = films["chain"]
    measured = {}
    for threads in (1, 2):
        measured["chain", "zun", threads] = zun("chain", film, threads)
        measured["chain", "OpenCV", threads] = opencv(bare_film, threads)
        measured["chain", "FFmpeg", threads] = ffmpeg(film, threads)
        for pipeline in ("coins", "faces-off"):
            measured[pipeline, "zun", threads] = zun(pipeline, films[pipeline][0], threads)
    measured["reading", "zun", 1] = zun("reading", film, 1)  # one frame after the other, however many threads
    return measured


def measure(measured, frames, rounds):
    times = {key: [] for key in measured}
    peaks = dict.fromkeys(measured, 0)
    for _ in range(rounds):
        for key, command in measured.items():
            start = run(command(short_run))[0]
            seconds, peak = run(command(short_run + frames))
            times[key].append(seconds - start)
            peaks[key] = max(peaks[key], peak)
    return {key: (1000 * statistics.median(times[key]) / frames, peaks[key]) for key in measured}


def row(key, results):
    pipeline, program, threads = key
    milliseconds, peak = results[key]
    return {"pipeline": pipeline, "program": program, "threads": threads, "frames_per_second": 1000 / milliseconds,
            "ms": milliseconds, "gain_over_one_thread": results[pipeline, program, 1][0] / milliseconds,
            "to_zun": milliseconds / results[pipeline, "zun", threads][0], "peak_bytes": peak}


def print_table(table, markdown):
    titles = ["pipeline", "program", "threads", "frames/s", "ms", "gain", "/zun", "peak MB"]
    if markdown:
        print("| " + " | ".join(titles) + " |\n|---|---|" + "--:|" * (len(titles) - 2))
    for cells in [[]] * (not markdown) + table:
        shown = titles if not cells else [
            cells["pipeline"], cells["program"], str(cells["threads"]), f"{cells['frames_per_second']:.0f}",
            f"{cells['ms']:.2f}", f"{cells['gain_over_one_thread']:.2f}", f"{cells['to_zun']:.2f}",
            f"{cells['peak_bytes'] / 1e6:.0f}"]
        print("| " + " | ".join(shown) + " |" if markdown else
              f"{shown[0]:10} {shown[1]:8}" + "".join(f"{cell:>10}" for cell in shown[2:]))


def main():
    parser = argparse.ArgumentParser(description="Times whole pipelines")
    parser.add_argument("build", help="the build folder")
    parser.add_argument("--frames", type=int, default=300, help="frames in each run")
    parser.add_argument("--rounds", type=int, default=3, help="runs of each program")
    parser.add_argument("--json", help="write the figures to this file, too")
    parser.add_argument("--markdown", action="store_true", help="print the table as Markdown")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="zun-bench-", dir=arguments.build) as folder:
        results = measure(commands(f"{arguments.build}/bin", folder), arguments.frames, arguments.rounds)
    table = [row(key, results) for key in sorted(results, key=lambda key: (key[0], ["zun", "OpenCV", "FFmpeg"].index(
        key[1]), key[2]))]
    print_table(table, arguments.markdown)
    if arguments.json:
        pathlib.Path(arguments.json).write_text(json.dumps({"size": f"{columns}x{rows}", "rows": table}, indent=2))


if __name__ == "__main__":
    main()
