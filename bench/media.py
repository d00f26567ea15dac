#!/usr/bin/env python3
"""Reading and writing of media, beside the programs that people use for it: a clip with H.264 in and out, raw frames, a
folder of photos, a large PNG, and the time to the first frame. The programs take turns; figures are medians. All run
on two processors, whatever the machine has.

usage: media.py BUILD_FOLDER [--only clip|raw|photos|png|start]... [--rounds 3] [--photos 200] [--frames 150]
                [--json FILE] [--markdown]"""

import argparse
import functools
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

here = pathlib.Path(__file__).resolve().parent
photos = here.parent / "examples/photos"
columns, rows = 1920, 1080
large = 8000, 6000
threads = 2
raw_frames = 150
start_rounds = 5  # starts are short: so many in each round

# Starts a pool that does what people write first. The photos come as arguments, after the folder of results.
opencv_pool = """
import multiprocessing, os, sys, cv2
def shrink(name):
    cv2.setNumThreads(1)
    photo = cv2.imread(name)
    scale = 1024 / max(photo.shape[:2])
    small = cv2.resize(photo, (round(photo.shape[1] * scale), round(photo.shape[0] * scale)),
                       interpolation=cv2.INTER_AREA)
    cv2.imwrite(os.path.join(sys.argv[1], os.path.basename(name)), small, [cv2.IMWRITE_JPEG_QUALITY, 85])
if __name__ == "__main__":
    with multiprocessing.Pool(2) as pool:
        pool.map(shrink, sys.argv[2:], chunksize=4)
"""

# Times the call alone, and prints its seconds.
opencv_png = """
import sys, time, cv2, numpy
columns, rows = map(int, sys.argv[3].split("x"))
picture = numpy.fromfile(sys.argv[1], numpy.uint8).reshape(rows, columns, 3)
start = time.perf_counter()
cv2.imwrite(sys.argv[2], picture)
print(time.perf_counter() - start)
"""

plain_read = """
import sys, time
frame = bytearray(b"x" * int(sys.argv[2]))
start = time.perf_counter()
with open(sys.argv[1], "rb", buffering=0) as film:
    while film.readinto(frame) == len(frame):
        pass
print(time.perf_counter() - start)
"""


def two_processors():
    os.sched_setaffinity(0, sorted(os.sched_getaffinity(0))[:threads])


def start(command, **settings):
    settings = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **settings}
    return subprocess.Popen([str(word) for word in command], preexec_fn=two_processors, **settings)


def run(command):
    """Seconds, and what the program printed."""
    begin = time.perf_counter()
    process = start(command)
    printed, messages = process.communicate()
    seconds = time.perf_counter() - begin
    if process.returncode != 0:
        sys.exit(f"media.py: {' '.join(map(str, command))} failed:\n{messages.decode()}")
    return seconds, printed.decode(errors="replace")


def time_to_output(command, size):
    """Seconds until a program has written so many bytes."""
    begin = time.perf_counter()
    with start(command) as process:
        got = len(process.stdout.read(size))
        seconds = time.perf_counter() - begin
        process.kill()
    if got < size:
        sys.exit(f"media.py: {' '.join(map(str, command))} wrote {got} bytes, not {size}")
    return seconds


def own_time(command):
    return float(run(command)[1])


def size_of(path):
    files = [path] if path.is_file() else list(path.iterdir())
    return sum(file.stat().st_size for file in files)


class Media:
    """The inputs, made once each, and the programs that work on them."""

    def __init__(self, build, folder, arguments):
        self.zun_program, self.folder = build / "bin/zun", pathlib.Path(folder)
        self.photo_count, self.frames = arguments.photos, arguments.frames

    def make(self, *command):
        subprocess.run([str(word) for word in command], check=True, stdin=subprocess.DEVNULL)

    def zun(self, pipeline, *words, **variables):
        given = [word for name, value in variables.items() for word in ("-D", f"{name}={value}")]
        return [self.zun_program, "run", here / f"pipelines/{pipeline}.yaml", "--threads", threads, *given, *words]

    @functools.cached_property
    def film(self):
        """A view that moves over an enlarged photo."""
        file = self.folder / "film.mp4"
        moving = (f"scale={columns + 240}:{rows + 240},crop={columns}:{rows}:x='120+100*sin(n/20)':"
                  f"y='120+100*cos(n/30)',noise=alls=4:allf=t")
        self.make("ffmpeg", "-v", "error", "-loop", "1", "-framerate", "30", "-i", photos / "coffee.png", "-vf", moving,
                  "-frames:v", self.frames, "-c:v", "libx264", "-preset", "fast", "-crf", "20", "-pix_fmt", "yuv420p",
                  file)
        return file

    def clip(self):
        """H.264 in, three nodes, H.264 out."""
        encoder = ["-c:v", "libx264", "-crf", "18", "-preset", "medium", "-pix_fmt", "yuv420p", "-threads", threads]
        result = self.folder / "out.mp4"
        filters = "scale=1280:720:flags=bilinear,{}avgblur=4,negate"

        def ffmpeg(form):
            return lambda: run(["ffmpeg", "-v", "error", "-y", "-threads", threads, "-filter_threads", threads, "-i",
                                self.film, "-vf", filters.format(form), *encoder, result])[0]

        programs = {"zun": lambda: run(self.zun("clip", clip=self.film, out=result))[0],
                    "FFmpeg, in RGB": ffmpeg("format=gbrp,"), "FFmpeg, in YUV": ffmpeg("")}
        return programs, self.frames, "frames/s", result

    def raw(self):
        """Frames that are bytes already, from a file that is in memory."""
        film = self.folder / "film.rgb"
        self.make("ffmpeg", "-v", "error", "-y", "-stream_loop", "-1", "-i", self.film, "-frames:v", raw_frames,
                  "-pix_fmt", "rgb24", "-f", "rawvideo", film)

        def zun():
            command = functools.partial(self.zun, "raw", "--frames", film=film, size=f"{columns}x{rows}")
            few = run([*command(), "0:10"])[0]
            return (run([*command(), f"0:{raw_frames}"])[0] - few) * raw_frames / (raw_frames - 10)

        programs = {"zun": zun,
                    "read": lambda: own_time([sys.executable, "-c", plain_read, film, columns * rows * 3])}
        return programs, raw_frames, "frames/s", None

    def photos(self):
        """JPEGs of 12 megapixels to JPEGs of 1024 pixels."""
        originals, results = self.folder / "photos", self.folder / "small"
        originals.mkdir()
        results.mkdir()
        sources = [photos / name for name in ("coffee.png", "chelsea.png", "rocket.jpg", "camera.png")]
        for place, source in enumerate(sources):
            self.make("ffmpeg", "-v", "error", "-y", "-i", source, "-vf", "scale=4000:3000,noise=alls=6:allf=t",
                      "-pix_fmt", "yuvj420p", "-q:v", "3", "-frames:v", "1", self.folder / f"original-{place}.jpg")
        for place in range(self.photo_count):
            shutil.copyfile(self.folder / f"original-{place % len(sources)}.jpg", originals / f"photo{place}.jpg")
        names = sorted(originals.iterdir())
        shrink = f"vipsthumbnail --size 1024 -o '{results}/%s.jpg[Q=85]'"
        listed = self.folder / "photos.list"
        listed.write_text("".join(f"{name}\n" for name in names))
        programs = {
            "zun": lambda: run(self.zun("photos", photos=originals, out=results))[0],
            "OpenCV, 2 processes": lambda: run([sys.executable, "-c", opencv_pool, results, *names])[0],
            "vipsthumbnail, 2 processes": lambda: run(
                ["sh", "-c", f"VIPS_CONCURRENCY=1 xargs -n 10 -P {threads} {shrink} <{listed}"])[0],
            "vipsthumbnail, 2 threads": lambda: run(
                ["sh", "-c", f"VIPS_CONCURRENCY={threads} xargs -n 1000 {shrink} <{listed}"])[0]}
        return programs, self.photo_count, "photos/s", results

    def png(self):
        """A PNG of 48 megapixels; the time to read its raw bytes is taken off."""
        width, height = large
        film, result = self.folder / "large.rgb", self.folder / "large.png"
        self.make("ffmpeg", "-v", "error", "-y", "-i", photos / "coffee.png", "-vf", f"scale={width}:{height}",
                  "-frames:v", "1", "-pix_fmt", "rgb24", "-f", "rawvideo", film)
        size = f"{width}x{height}"

        def zun(*words):
            return lambda: (run(self.zun("png", *words, film=film, size=size, out=result))[0] -
                            run(self.zun("raw", film=film, size=size))[0])

        programs = {"zun": zun(), "zun, pngLevel 1": zun("--set", "out.pngLevel=1"),
                    "zun, pngLevel 6": zun("--set", "out.pngLevel=6"),
                    "OpenCV": lambda: own_time([sys.executable, "-c", opencv_png, film, result, size])}
        return programs, width * height / 1e6, "MP/s", result

    def start(self):
        """From the start of a program to the first frame of a clip in its standard output."""
        size = columns * rows * 3
        ffmpeg = ["ffmpeg", "-v", "error", "-i", self.film, "-pix_fmt", "rgb24", "-f", "rawvideo", "-"]

        def median(command):
            return lambda: statistics.median(time_to_output(command, size) for _ in range(start_rounds))

        return {"zun": median(self.zun("start", clip=self.film)), "FFmpeg": median(ffmpeg)}, 1, "starts/s", None


def measure(what, media, rounds):
    programs, count, unit, result = getattr(media, what)()
    times, sizes = {name: [] for name in programs}, {}
    for _ in range(rounds):
        for name, program in programs.items():
            times[name].append(program())
            sizes[name] = size_of(result) if result is not None else None
    seconds = {name: statistics.median(times[name]) for name in programs}
    return [{"what": what, "program": name, "seconds": seconds[name], "rate": count / seconds[name], "unit": unit,
             "to_zun": seconds[name] / seconds["zun"], "bytes": sizes[name]} for name in programs]


def print_table(table, markdown):
    titles = ["what", "program", "ms", "rate", "", "/zun", "result MB"]
    if markdown:
        print("| " + " | ".join(titles) + " |\n|---|---|--:|--:|---|--:|--:|")
    for cells in [None] * (not markdown) + table:
        shown = titles if cells is None else [
            cells["what"], cells["program"], f"{1000 * cells['seconds']:.0f}", f"{cells['rate']:.1f}", cells["unit"],
            f"{cells['to_zun']:.2f}", f"{cells['bytes'] / 1e6:.1f}" if cells["bytes"] is not None else ""]
        print("| " + " | ".join(shown) + " |" if markdown else
              f"{shown[0]:7} {shown[1]:27}{shown[2]:>8}{shown[3]:>9} {shown[4]:9}{shown[5]:>6}{shown[6]:>10}")


def main():
    kinds = ["clip", "raw", "photos", "png", "start"]
    parser = argparse.ArgumentParser(description="Times reading and writing of media")
    parser.add_argument("build", type=pathlib.Path, help="the build folder")
    parser.add_argument("--only", action="append", choices=kinds, help="measure this alone")
    parser.add_argument("--rounds", type=int, default=3, help="runs of each program")
    parser.add_argument("--photos", type=int, default=200, help="photos in the folder")
    parser.add_argument("--frames", type=int, default=150, help="frames of the clip")
    parser.add_argument("--json", help="write the figures to this file, too")
    parser.add_argument("--markdown", action="store_true", help="print the table as Markdown")
    arguments = parser.parse_args()
    table = []
    with tempfile.TemporaryDirectory(prefix="zun-bench-", dir=arguments.build) as folder:
        media = Media(arguments.build.resolve(), pathlib.Path(folder).resolve(), arguments)
        for what in arguments.only or kinds:
            table += measure(what, media, arguments.rounds)
    print_table(table, arguments.markdown)
    if arguments.json:
        pathlib.Path(arguments.json).write_text(json.dumps({"threads": threads, "rows": table}, indent=2))


main()
