"""What the rows of the table share: starting programs, descriptions for zun, and what ffprobe and FFmpeg say of files."""

import dataclasses
import fractions
import json
import pathlib
import re
import subprocess

import numpy

converting = "bicubic+accurate_rnd+full_chroma_int+full_chroma_inp+bitexact"
time_limit = 100  # seconds for one program, under sanitizers as well
crashes = ("Sanitizer", "runtime error:", "terminate called", "Segmentation")


class Fault(Exception):
    """The row can't go on."""


class Trial:
    """One row at work, in a folder of its own. Collects what is wrong instead of ending at the first fault."""

    def __init__(self, zun, folder):
        self.zun_program, self.folder, self.faults = zun, pathlib.Path(folder), []

    def expect(self, truth, text):
        if not truth:
            self.faults.append(text)

    def equal(self, what, found, wanted):
        self.expect(found == wanted, f"{what}: {found}, not {wanted}")

    def near(self, what, found, wanted, most):
        far = found is None or wanted is None or abs(found - wanted) > most
        self.expect(not far, f"{what}: {found}, not {wanted} (+-{most})")

    def path(self, name):
        return str(self.folder / name)

    def make(self, *command, **settings):
        """Runs a program that makes an input."""
        done = subprocess.run([str(word) for word in command], cwd=self.folder, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=time_limit, check=False, **settings)
        if done.returncode != 0:
            raise Fault(f"{' '.join(map(str, command))}: {done.stderr.decode(errors='replace').strip()[-300:]}")
        return done.stdout

    def ffmpeg(self, *words):
        return self.make("ffmpeg", "-v", "error", "-nostdin", "-y", *words)

    def zun(self, nodes, *words, **settings):
        """Runs a description, given as its list of nodes; returns the ended process with texts for both outputs."""
        file = self.folder / f"description-{len(list(self.folder.glob('description-*')))}.yaml"
        file.write_text(json.dumps({"nodes": nodes}))
        settings = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, **settings}
        ended = subprocess.run([self.zun_program, "run", str(file), *words], cwd=self.folder, stderr=subprocess.PIPE,
                               timeout=time_limit, check=False, **settings)
        ended.stderr = ended.stderr.decode(errors="replace")
        self.expect(ended.returncode in (0, 1), f"exit status {ended.returncode}: {ended.stderr[-600:]}")
        self.expect(not any(word in ended.stderr for word in crashes), f"a crash: {ended.stderr[-1500:]}")
        return ended

    def run(self, nodes, *words, **settings):
        """As zun(), but it has to go well. Returns what was said."""
        ended = self.zun(nodes, *words, **settings)
        if ended.returncode != 0:
            raise Fault(ended.stderr.strip())
        return ended.stderr

    def says(self, text, patterns):
        for pattern in patterns:
            self.expect(re.search(pattern, text), f"nothing said of '{pattern}', only: {text.strip()!r}")


def reader(path, port="rgb", stream="frames", **options):
    return {"type": "ReadFrames", "name": "reader", "outputs": {port: stream}, "options": {"path": path, **options}}


def writer(path, name="writer", stream="frames", **options):
    return {"type": "WriteFrames", "name": name, "inputs": {"frames": stream}, "options": {"path": path, **options}}


def copier(source, written, reading=None, writing=None):
    return [reader(source, **(reading or {})), writer(written, **(writing or {}))]


@dataclasses.dataclass
class Facts:
    """What ffprobe says of a video, its frames and packets read through."""
    size: tuple  # (width, height) as it is shown
    count: int
    rate: float
    times: list  # seconds from the first frame on
    duration: float  # of the pictures
    sound: str
    sound_duration: float
    aspect: fractions.Fraction
    codec: str
    pixel_format: str
    start_gap: float  # seconds from the first picture to the first sound


def number(text, otherwise=None):
    try:
        return float(text)
    except (TypeError, ValueError):
        return otherwise


def rotation(stream):
    turns = [int(float(data["rotation"])) for data in stream.get("side_data_list", []) if "rotation" in data]
    return turns[0] % 360 if turns else 0


def probe(trial, file):
    said = json.loads(trial.make("ffprobe", "-v", "quiet", "-of", "json", "-show_streams", "-show_packets",
                                 "-show_frames", str(file)))
    mixed = said.get("packets_and_frames", [])
    pictures = [part for part in mixed if part["type"] == "frame" and part.get("media_type") == "video"]
    sounds = [part for part in mixed if part["type"] == "packet" and part.get("codec_type") == "audio"]
    video = next((stream for stream in said["streams"] if stream["codec_type"] == "video"), None)
    audio = next((stream for stream in said["streams"] if stream["codec_type"] == "audio"), None)
    if video is None:
        raise Fault(f"{file} holds no video: {said['streams']}")
    times = [number(part.get("pts_time"), number(part.get("best_effort_timestamp_time"), 0)) for part in pictures]
    last = number(pictures[-1].get("pkt_duration_time"), 0) if pictures else 0
    first = times[0] if times else 0
    spans = [(number(part.get("pts_time"), 0), number(part.get("duration_time"), 0)) for part in sounds]
    heard = [(begin, begin + length) for begin, length in spans if begin + length > first]  # beside pictures
    width, height = video["width"], video["height"]
    ratio = video.get("sample_aspect_ratio", "1:1").replace(":", "/")
    rate = fractions.Fraction(video["avg_frame_rate"]) if not video["avg_frame_rate"].endswith("/0") else 0
    return Facts((height, width) if rotation(video) % 180 else (width, height), len(times), float(rate),
                 [time - first for time in times], times[-1] - first + last if times else 0,
                 audio["codec_name"] if audio else None, heard[-1][1] - heard[0][0] if heard else 0,
                 fractions.Fraction(ratio) if not ratio.startswith("0") else fractions.Fraction(1),
                 video["codec_name"], video["pix_fmt"], heard[0][0] - first if heard else 0)


def frames_of(trial, file, matrix=None, full=None, before=()):
    """The frames of a file as FFmpeg shows them, in RGB; frames x rows x columns x 3. Times don't matter."""
    scale = f"scale=flags={converting}"
    if matrix:
        scale += f":in_color_matrix={matrix}"
    if full is not None:
        scale += f":in_range={'full' if full else 'limited'}"
    packed = trial.make("ffmpeg", "-v", "error", "-nostdin", *before, "-i", str(file), "-map", "0:v:0", "-vsync",
                        "passthrough", "-vf", f"{scale},format=rgb24", "-f", "image2pipe", "-c:v", "ppm", "-")
    return split_ppm(packed)


def bare_frames(trial, file, size):
    """Frames of raw RGB bytes; size is (width, height)."""
    pixels = numpy.fromfile(trial.folder / file, numpy.uint8)
    if pixels.size % (size[0] * size[1] * 3):
        raise Fault(f"'{file}' has {pixels.size} bytes, which are no whole frames of {size}")
    return list(pixels.reshape(-1, size[1], size[0], 3))


def split_ppm(packed):
    pictures, place = [], 0
    while place < len(packed):
        header = re.compile(rb"P6\s(\d+) (\d+)\s255\s").match(packed, place)
        if header is None:
            raise Fault(f"a byte stream that is not PPM at {place}: {packed[place:place + 20]!r}")
        width, height = int(header[1]), int(header[2])
        size = width * height * 3
        pixels = numpy.frombuffer(packed, numpy.uint8, size, header.end())
        pictures.append(pixels.reshape(height, width, 3))
        place = header.end() + size
    return pictures


def distance(found, wanted):
    """(mean, most) difference of the pixels of two pictures; endless where they differ in size."""
    if found.shape != wanted.shape:
        return float("inf"), float("inf")
    difference = numpy.abs(found.astype(int) - wanted.astype(int))
    return float(difference.mean()), int(difference.max(initial=0))


def compare_frames(trial, what, found, wanted, mean=0.0, most=None):
    """Frames one by one; without `mean` to the bit."""
    trial.equal(f"{what}: frames", len(found), len(wanted))
    for place, (left, right) in enumerate(zip(found, wanted)):
        average, worst = distance(left, right)
        if average > mean or (most is not None and worst > most):
            trial.expect(False, f"{what}: frame {place} is {left.shape}, and {right.shape} was expected; pixels differ "
                                f"by {average:.2f} on average, {worst} at most")
            return
