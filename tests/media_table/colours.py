"""YUV of every usual matrix and range, tagged and untagged: exact against FFmpeg's own conversion with the same flags."""

import dataclasses

import numpy

from clips import bare
from tools import bare_frames, compare_frames, copier, distance, frames_of, probe, reader, writer

# The colour tag of a file, FFmpeg's name for it in its scaler, and its primaries.
matrices = {"bt709": "bt709", "smpte170m": "smpte170m", "bt470bg": "bt470", "bt2020nc": "bt2020"}


@dataclasses.dataclass
class Colours:
    """A file of YUV, lossless, whose planes hold every combination of coarse steps, legal or not."""
    matrix: str = None  # None: the file states none
    range: str = None  # "tv", "pc" or None
    form: str = "yuv444p"
    size: tuple = (96, 64)
    assumed: str = "smpte170m"  # where no matrix is stated
    quick: bool = False

    @property
    def name(self):
        return f"{self.form} {self.size[1]} rows, matrix {self.matrix or 'unstated'}, range {self.range or 'unstated'}"

    def prepare(self, trial):
        columns, rows = self.size
        wide = columns >> (not self.form.startswith("yuv444p"))
        high = rows >> self.form.startswith("yuv420p")
        noise = numpy.random.default_rng(7)
        planes = [noise.integers(0, 256, rows * columns), noise.integers(0, 256, high * wide),
                  noise.integers(0, 256, high * wide)]
        if self.form.endswith("10le"):
            data = b"".join((plane * 4 + 1).astype("<u2").tobytes() for plane in planes)
        else:
            data = b"".join(plane.astype(numpy.uint8).tobytes() for plane in planes)
        (trial.folder / "planes.yuv").write_bytes(data)
        tags = (["-colorspace", self.matrix] if self.matrix else []) + (
            ["-color_range", self.range] if self.range else [])
        trial.ffmpeg("-f", "rawvideo", "-pix_fmt", self.form, "-s", f"{columns}x{rows}", *tags, "-i", "planes.yuv",
                     "-c:v", "ffv1", *tags, "a.mkv")

    def run(self, trial):
        self.prepare(trial)
        trial.run(copier("a.mkv", "seen.rgb", writing=bare))
        wanted = frames_of(trial, "a.mkv", matrices[self.matrix or self.assumed], self.range == "pc")
        compare_frames(trial, "RGB", bare_frames(trial, "seen.rgb", self.size), wanted)


@dataclasses.dataclass
class Written:
    """Flat colours, through a video with loss: what is written states its matrix and range, and they are the ones it was
    converted with."""
    written: str
    size: tuple
    writing: dict = dataclasses.field(default_factory=dict)
    quick: bool = False
    most: int = 5

    @property
    def name(self):
        return f"colours written to {self.written}, {self.size[1]} rows {self.writing or ''}"

    def run(self, trial):
        columns, rows = self.size
        colours = [(255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 255), (0, 0, 0), (200, 120, 40)]
        picture = numpy.zeros((rows, columns, 3), numpy.uint8)
        wide = columns // len(colours)
        for place, colour in enumerate(colours):
            picture[:, place * wide:(place + 1) * wide] = colour
        (trial.folder / "a.rgb").write_bytes(picture.tobytes())
        trial.ffmpeg("-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{columns}x{rows}", "-i", "a.rgb", "a.png")
        trial.run([reader("a.png", repeat=3), writer(self.written, fps=25, **self.writing)])
        trial.equal("frames", probe(trial, self.written).count, 3)
        stated = trial.make("ffprobe", "-v", "quiet", "-of", "csv=p=0", "-show_entries",
                            "stream=pix_fmt,color_range,color_space", self.written).decode()
        trial.expect("unknown" not in stated or "yuv" not in stated, f"the file states its colours as {stated.strip()}")
        # ffplay and others convert as stated; zun has to agree with them.
        trial.run(copier(self.written, "again.rgb", writing=bare))
        for what, frames in (("FFmpeg", frames_of(trial, self.written)), ("zun", bare_frames(trial, "again.rgb", self.size))):
            for place, colour in enumerate(colours):
                patch = frames[-1][8:-8, place * wide + 8:(place + 1) * wide - 8]
                worst = distance(patch, numpy.broadcast_to(numpy.uint8(colour), patch.shape))[1]
                trial.expect(worst <= self.most, f"as {what} reads it, {colour} is {patch[0, 0]}")


def rows():
    tagged = [Colours(matrix, span, quick=matrix == "bt709") for matrix in matrices for span in ("tv", "pc")]
    subsampled = [Colours("bt709", "tv", form) for form in ("yuv420p", "yuv422p", "yuv420p10le", "yuv444p10le")]
    return [
        *tagged,
        *subsampled,
        Colours("bt2020nc", "tv", "yuv420p10le"),
        Colours("bt709", None),
        Colours(None, "pc"),
        Colours(None, "tv"),
        Colours(None, None, "yuv420p"),
        Colours(None, None, "yuv420p", (96, 718)),
        Colours(None, None, "yuv420p", (96, 720), "bt709"),
        Colours(None, "pc", "yuv420p", (96, 1080), "bt709"),
        Written("a.mp4", (192, 64)),
        Written("a.mp4", (192, 720)),
        Written("a.mkv", (192, 64), {"lossless": True}, most=1),
        Written("a.mp4", (192, 720), {"lossless": True}, most=1),
        Written("a.mov", (192, 64), {"codec": "prores"}),
    ]
