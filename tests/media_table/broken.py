"""What bad input gets: one clear error with path and tick, status 1, and nothing half under a final name."""

import dataclasses
import os
import pathlib
import re
import resource
import signal
import socket
import subprocess

import numpy
from PIL import Image

from clips import aac, sound, video, x264
from pictures import colour
from tools import copier, frames_of, probe, reader, writer

nobody = 65534
clip = [*video(seconds=2), *sound(2), *x264, "-g", "10", *aac]


@dataclasses.dataclass
class Broken:
    """A description over a broken input: judged by its message and what is left."""
    name: str
    prepare: object  # a function of the trial
    nodes: list
    says: tuple  # patterns in the error
    left: tuple = ()  # names of what may be there afterwards, complete, beside what was there before
    words: tuple = ()
    settings: object = None  # a function of the trial that gives further settings for the start of zun
    after: object = None  # a function of the trial
    quick: bool = False

    def run(self, trial):
        self.prepare(trial)
        before = {file.name for file in trial.folder.rglob("*")}
        settings = self.settings(trial) if self.settings else {}
        ended = trial.zun(self.nodes, *self.words, **settings)
        trial.equal("exit status", ended.returncode, 1)
        errors = [line for line in ended.stderr.splitlines() if "error: " in line]
        trial.equal("errors", len(errors), 1)
        trial.says("\n".join(errors), self.says)
        trial.expect(len(ended.stderr) < 2000, f"{len(ended.stderr)} characters of messages")
        left = {file.name for file in trial.folder.rglob("*") if not file.name.startswith("description-")} - before
        named = {name for name in left if name.endswith(".part") and name in ended.stderr}  # what was encoded, kept
        left -= named
        trial.expect(left <= set(self.left), f"left behind: {sorted(left - set(self.left))}")
        trial.expect(set(self.left) <= left, f"missing: {sorted(set(self.left) - left)}")
        if self.after:
            self.after(trial)


def lost_chunk(trial):
    """The eleventh frame of an AVI, which its index lists, can't be found."""
    data = bytearray((trial.folder / "a.avi").read_bytes())
    place = data.index(b"movi")
    for _ in range(11):
        place = data.index(b"00dc", place + 4)
    data[place:place + 8] = b"\x55" * 8
    (trial.folder / "a.avi").write_bytes(data)


def keep_part(file, share):
    def cut(trial):
        data = (trial.folder / file).read_bytes()
        (trial.folder / file).write_bytes(data[:int(len(data) * share)])
    return cut


def saved(file, **options):
    return lambda trial: colour().save(trial.path(file), **options)


def filmed(file, *words):
    return lambda trial: trial.ffmpeg(*(words or clip), file)


def wrote(file, data):
    return lambda trial: (trial.folder / file).write_bytes(data)


def both(*steps):
    def do(trial):
        for step in steps:
            step(trial)
    return do


def numbered(*numbers):
    def do(trial):
        for place in numbers:
            colour().save(trial.path(f"f{place:03}.png"))
    return do


def flipped_bytes(file, begin, end):
    """Noise over a part of a file."""
    def do(trial):
        data = bytearray((trial.folder / file).read_bytes())
        first, last = int(len(data) * begin), int(len(data) * end)
        data[first:last] = numpy.random.default_rng(3).integers(0, 256, last - first, numpy.uint8).tobytes()
        (trial.folder / file).write_bytes(data)
    return do


def huge_header(trial):
    """A PNG that states 2 thousand million pixels a row and has none."""
    data = bytearray(pathlib.Path(trial.path("a.png")).read_bytes())
    data[16:24] = (2_000_000_000).to_bytes(4, "big") * 2
    (trial.folder / "a.png").write_bytes(data)


def limited_files(size):
    """No file may grow beyond a size: the disk that is full in the middle, for everybody."""
    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    return lambda trial: {"preexec_fn": limit, "restore_signals": False}


def unprivileged(trial):
    return {"user": nobody, "group": nobody, "extra_groups": []} if os.geteuid() == 0 else {}


def forbid(name):
    def do(trial):
        os.chmod(trial.path(name), 0)
    return do


def noise_film(trial):
    """Frames that don't compress."""
    pixels = numpy.random.default_rng(1).integers(0, 256, (12, 120, 160, 3), numpy.uint8)
    (trial.folder / "noise.rgb").write_bytes(pixels.tobytes())
    trial.ffmpeg("-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "160x120", "-i", "noise.rgb", "-c:v", "ffv1", "a.mkv")


def noisy(file):
    return both(filmed(file), flipped_bytes(file, 0.45, 0.5))


def whole(file, count=None):
    """The file can be read to its end."""
    def check(trial):
        found = len(frames_of(trial, file))
        trial.expect(found == count if count else found > 0, f"'{file}' has {found} frames, {count} were expected")
    return check


def early(file, most):
    """Everything before the damage was written."""
    def check(trial):
        found = probe(trial, file).count
        trial.expect(0 < found < most, f"'{file}' has {found} frames of {most}")
    return check


def pictures():
    png = copier("a.png", "out.png")
    rows = []
    for ending, options in (("png", {}), ("jpg", {}), ("bmp", {}), ("tif", {"compression": "tiff_lzw"}), ("ppm", {}),
                            ("webp", {"lossless": True})):
        rows.append(Broken(f"a cut {ending}", both(saved(f"a.{ending}", **options), keep_part(f"a.{ending}", 0.6)),
                           copier(f"a.{ending}", "out.png"), (f"a\\.{ending}",), quick=ending in ("png", "tif")))
    for ending in ("png", "jpg", "tif", "webp", "gif", "avif"):
        rows.append(Broken(f"an empty {ending}", wrote(f"a.{ending}", b""), copier(f"a.{ending}", "out.png"),
                           (f"a\\.{ending}",)))
    return rows + [
        Broken("a text under the name of a picture", wrote("a.png", b"This is a text.\n" * 40), png, ("a\\.png",)),
        Broken("a header that promises too much", both(saved("a.png"), huge_header), png, ("a\\.png",), quick=True),
        Broken("noise in the middle of a PNG", both(saved("a.png"), flipped_bytes("a.png", 0.4, 0.6)), png,
               ("a\\.png",)),
        Broken("noise in the middle of a TIFF", both(saved("a.tif", compression="tiff_lzw"),
                                                     flipped_bytes("a.tif", 0.2, 0.5)), copier("a.tif", "out.png"),
               ("a\\.tif",), quick=True),
        Broken("one broken picture of three", both(numbered(0, 1, 2), keep_part("f001.png", 0.5)),
               copier("f%03d.png", "out-{number}.png"), ("f001\\.png", "tick 1"), ("out-0.png",)),
    ]


def paths():
    return [
        Broken("nothing there, but something like it", saved("photo.png"), copier("phto.png", "out.png"),
               ("phto\\.png", "photo\\.png"), quick=True),
        Broken("no such folder", saved("photo.png"), copier("photos/photo.png", "out.png"), ("photos",)),
        Broken("an empty folder", lambda trial: (trial.folder / "in").mkdir(), copier("in", "{stem}.png"),
               ("'in/?'", "pictures")),
        Broken("a glob that fits nothing", saved("photo.png"), copier("*.jpg", "{stem}.png"), ("\\*\\.jpg",)),
        Broken("a gap in a sequence", numbered(1, 2, 5), copier("f%03d.png", "out-{number}.png"),
               ("f003\\.png", "f005\\.png|\\b5\\b")),
        Broken("a list that names a missing file", both(saved("a.png"), wrote("list.txt", b"a.png\nb.png\n")),
               copier("list.txt", "out-{stem}.png"), ("b\\.png",)),
        Broken("two inputs for one output", both(saved("a.png"), saved("a.jpg"), saved("b.png")),
               copier(".", "{stem}-out.png"), ("a\\.png", "a\\.jpg", "a-out\\.png")),
        Broken("a device", lambda trial: None, copier("/dev/null", "out.png"), ("/dev/null",)),
        Broken("an endless device", lambda trial: None, copier("/dev/zero", "out.png"), ("/dev/zero",)),
        Broken("a socket", lambda trial: socket.socket(socket.AF_UNIX).bind(trial.path("a.png")),
               copier("a.png", "out.png"), ("a\\.png",)),
        Broken("a camera that was not allowed", lambda trial: None, copier("v4l2:/dev/video0", "out.mp4"),
               ("--allow-devices",), quick=True),
        Broken("an address that was not allowed", lambda trial: None, copier("http://localhost:1/a.mp4", "out.mp4"),
               ("--allow-network",)),
        Broken("an address where nobody answers", lambda trial: None, copier("http://127.0.0.1:1/a.mp4", "out.mp4"),
               ("127\\.0\\.0\\.1",), words=("--allow-network",)),
        Broken("a file that may not be read", both(saved("a.png"), forbid("a.png"), lambda trial: os.chmod(
            trial.folder, 0o777)), copier("a.png", "out.png"), ("a\\.png", "[Pp]ermi"), settings=unprivileged),
        Broken("a folder that may not be written to", both(saved("a.png"), lambda trial: (trial.folder / "out").mkdir(
            0o555)), copier("a.png", "out/out.png"), ("out", "written|[Pp]ermi"), settings=unprivileged),
        Broken("no folder to write to", saved("a.png"), copier("a.png", "nowhere/out.png"), ("nowhere",)),
        Broken("a folder in place of the output", both(saved("a.png"), lambda trial: (trial.folder / "out.png").mkdir()),
               copier("a.png", "out.png"), ("out\\.png",)),
        Broken("an ending that nobody writes", saved("a.png"), copier("a.png", "out.doc"), ("out\\.doc",)),
        Broken("a field that does not exist", saved("a.png"), copier("a.png", "{stam}.png"), ("stam", "stem")),
    ]


def films():
    cut_film = both(filmed("a.mkv"), keep_part("a.mkv", 0.5))
    copy = copier("a.mkv", "out.mkv")
    return [
        Broken("an MP4 without its end", both(filmed("a.mp4"), keep_part("a.mp4", 0.5)), copier("a.mp4", "out.mkv"),
               ("a\\.mp4",), quick=True),
        Broken("an MP4 whose index is first, without its end", both(filmed("a.mp4", *clip, "-movflags", "faststart"),
                                                                    keep_part("a.mp4", 0.6)),
               copier("a.mp4", "out.mkv"), ("a\\.mp4",), ("out.mkv",), after=early("out.mkv", 60)),
        Broken("a Matroska without its end", cut_film, copy, ("a\\.mkv",), ("out.mkv",), after=early("out.mkv", 60)),
        *(Broken(f"noise in the middle of a film, {ending}", noisy(f"a.{ending}"), copier(f"a.{ending}", "out.mkv"),
                 (f"a\\.{ending}", "damaged"), ("out.mkv",), after=early("out.mkv", 60), quick=ending == "mp4")
          for ending in ("mp4", "mkv", "ts")),
        Broken("noise over the head of a chunk of an AVI", both(filmed("a.avi", *video(), "-c:v", "mjpeg"), lost_chunk),
               copier("a.avi", "out.mkv"), ("a\\.avi", "damaged at frame 10"), ("out.mkv",), after=whole("out.mkv", 10)),
        *(Broken(f"a {ending} without its end", both(filmed(f"a.{ending}", *video()), keep_part(f"a.{ending}", 0.5)),
                 copier(f"a.{ending}", "out.mkv"), (f"a\\.{ending}", "ends before"), ("out.mkv",),
                 after=early("out.mkv", 30)) for ending in ("gif", "y4m")),
        Broken("an empty film", wrote("a.mp4", b""), copier("a.mp4", "out.mkv"), ("a\\.mp4",)),
        Broken("a text under the name of a film", wrote("a.mkv", b"This is a text.\n" * 400), copy, ("a\\.mkv",)),
        Broken("sound alone", filmed("a.m4a", *sound(), *aac), copier("a.m4a", "out.mkv"), ("a\\.m4a",)),
        Broken("raw bytes without a size", wrote("a.rgb", bytes(96 * 64 * 3)), copier("a.rgb", "out.png"),
               ("a\\.rgb", "size")),
        Broken("raw bytes that end within a frame", wrote("a.rgb", bytes(96 * 64 * 3 + 100)),
               copier("a.rgb", "out-%d.png", {"format": "rgb24", "size": "96x64", "fps": 25}), ("a\\.rgb",),
               ("out-0.png",)),
    ]


@dataclasses.dataclass
class Tolerated:
    """The same damage, and the policy that goes on."""
    name: str
    damaged: str
    expected: tuple  # least and most frames
    share: float = 0.0  # what is kept of the file; 0: all of it, with noise
    quick: bool = False

    def run(self, trial):
        prepare = both(filmed("a.mkv"), keep_part("a.mkv", self.share)) if self.share else noisy("a.mp4")
        prepare(trial)
        source = "a.mkv" if self.share else "a.mp4"
        said = trial.run(copier(source, "out.mkv", {"damaged": self.damaged}))
        trial.says(said, (source, "damage|cut|end"))
        count = len(frames_of(trial, "out.mkv"))
        trial.expect(self.expected[0] <= count <= self.expected[1], f"{count} frames, not {self.expected}")


def outputs():
    many = [reader("a.mkv"), writer("out-%d.png")]
    return [
        Broken("a disk that is full in the middle of a film", noise_film, copier("a.mkv", "out.mkv",
                                                                                 writing={"lossless": True}),
               ("out\\.mkv",), settings=limited_files(150_000), quick=True),
        Broken("a disk that is full in a picture", noise_film, many, ("out-0\\.png|out-\\d+\\.png",),
               settings=limited_files(20_000)),
        Broken("a size that a WebP can't take", lambda trial: Image.new("RGB", (17000, 2)).save(trial.path("a.png")),
               copier("a.png", "out.webp"), ("out\\.webp", "17000|16383")),
        Broken("a size that H.264 can't take", lambda trial: Image.new("RGB", (20000, 2)).save(trial.path("a.png")),
               copier("a.png", "out.mp4"), ("out\\.mp4", "20000|16384")),
        Broken("frames of two sizes for one film", both(saved("f0.png"), lambda trial: colour().resize((20, 30)).save(
            trial.path("f1.png"))), copier("f%d.png", "out.mp4"), ("out\\.mp4", "tick 1", "20"),
            ("out.mp4",), after=whole("out.mp4", 1)),
        Broken("two ticks for one picture", numbered(0, 1), copier("f%03d.png", "out.png"), ("out\\.png",),
               ("out.png",)),
        ClosedPipe("a pipe that closes early"),
        SmallDisk("a disk of 128 KiB"),
    ]


@dataclasses.dataclass
class ClosedPipe:
    """The program that reads ends after some bytes: zun ends, too, and doesn't wait for ever."""
    name: str
    quick: bool = True

    def run(self, trial):
        noise_film(trial)
        taker = subprocess.Popen(["head", "-c", "1000"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        ended = trial.zun([reader("a.mkv", repeat=50), writer("-", container="nut")], stdout=taker.stdin)
        taker.stdin.close()
        taker.wait()
        trial.equal("exit status", ended.returncode, 1)
        trial.says(ended.stderr, ("ended",))


@dataclasses.dataclass
class SmallDisk:
    """A disk that is really full, where the system lets us mount one."""
    name: str
    quick: bool = False

    def run(self, trial):
        noise_film(trial)
        (trial.folder / "disk").mkdir()
        allowed = subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", trial.path("disk")], check=False,
                                 capture_output=True).returncode == 0
        if not allowed:
            return
        (trial.folder / "run.yaml").write_text(f"""nodes:
- {{type: ReadFrames, outputs: {{rgb: frames}}, options: {{path: a.mkv}}}}
- {{type: WriteFrames, inputs: {{frames: frames}}, options: {{path: disk/out-%d.png}}}}
""")
        script = f"mount -t tmpfs -o size=128k none disk && {trial.zun_program} run run.yaml; s=$?; ls -A disk; exit $s"
        ended = subprocess.run(["unshare", "-rm", "sh", "-c", script], cwd=trial.folder, capture_output=True,
                               check=False)
        trial.equal("exit status", ended.returncode, 1)
        trial.says(ended.stderr.decode(), ("disk/out-\\d\\.png", "[Nn]o space"))
        left = ended.stdout.decode().split()
        trial.expect("out-0.png" in left, f"what fitted is not left: {left}")
        trial.expect(all(re.fullmatch(r"out-\d+\.png", name) for name in left), f"left behind: {left}")


def rows():
    return [*pictures(), *paths(), *films(), *outputs(),
            Tolerated("a film without its end, damaged: stop", "stop", (10, 45), 0.5),
            Tolerated("noise in a film, damaged: stop", "stop", (10, 45)),
            Tolerated("noise in a film, damaged: skip", "skip", (40, 59), quick=True)]
