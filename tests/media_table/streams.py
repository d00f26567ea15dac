"""Standard input and output, pipes and FIFOs: zun between two FFmpeg programs."""

import dataclasses
import os
import subprocess
import threading

from tools import Fault, compare_frames, copier, frames_of, probe, split_ppm, time_limit

raw = {"format": "rgb24", "size": "96x64", "fps": 30}
test_film = ["-f", "lavfi", "-i", "testsrc2=size=96x64:rate=30:duration=1"]


@dataclasses.dataclass
class Piped:
    """ffmpeg | zun | ffmpeg: what comes out is what went in."""
    name: str
    sent: list  # words for the first ffmpeg
    container: str  # that zun writes
    taken: list  # words for the second ffmpeg, before -i
    reading: dict = dataclasses.field(default_factory=dict)
    writing: dict = dataclasses.field(default_factory=dict)
    loss: float = 0
    rate: float = 30
    quick: bool = False

    def run(self, trial):
        trial.ffmpeg(*test_film, "-vf", "format=gbrp", "-c:v", "ffv1", "film.mkv")
        sent = [*self.sent, "-"]
        description = copier("-", "-", self.reading, {"container": self.container, **self.writing})
        first = subprocess.Popen(["ffmpeg", "-v", "quiet", "-nostdin", "-i", "film.mkv", *sent], cwd=trial.folder,
                                 stdout=subprocess.PIPE)
        last = subprocess.Popen(["ffmpeg", "-v", "error", "-y", *self.taken, "-i", "-", "-vf", "format=gbrp", "-c:v",
                                 "ffv1", "taken.mkv"], cwd=trial.folder, stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            trial.run(description, stdin=first.stdout, stdout=last.stdin)
        finally:
            first.stdout.close()
            last.stdin.close()
            first.wait(time_limit)
            errors = last.stderr.read().decode()
            last.wait(time_limit)
        trial.equal("exit status of the last ffmpeg", last.returncode, 0)
        trial.expect(not errors, f"the last ffmpeg says {errors}")
        trial.near("rate", probe(trial, "taken.mkv").rate, self.rate, 0.01)
        compare_frames(trial, "the frames", frames_of(trial, "taken.mkv"), frames_of(trial, "film.mkv"), self.loss)


@dataclasses.dataclass
class Pictures:
    """Pictures in a pipe, from standard input to standard output."""
    codec: str
    quick: bool = False

    @property
    def name(self):
        return f"a pipe of {self.codec.upper()} pictures to one of PNG"

    def run(self, trial):
        sent = trial.ffmpeg(*test_film, "-f", "image2pipe", "-c:v", self.codec, "-pix_fmt", "rgb24", "-")
        wanted = split_ppm(trial.ffmpeg(*test_film, "-f", "image2pipe", "-c:v", "ppm", "-"))
        ended = trial.zun(copier("-", "-", {}, {"container": "image2pipe"}), stdin=None, input=sent)
        if ended.returncode != 0:
            raise Fault(ended.stderr)
        (trial.folder / "taken").write_bytes(ended.stdout)
        compare_frames(trial, "the pictures", frames_of(trial, "taken", before=["-f", "image2pipe"]), wanted)


@dataclasses.dataclass
class NamedPipes:
    """A FIFO on either side."""
    name: str = "FIFOs on both sides"
    quick: bool = True

    def run(self, trial):
        trial.ffmpeg(*test_film, "-vf", "format=gbrp", "-c:v", "ffv1", "film.mkv")
        for name in ("in.nut", "out.nut"):
            os.mkfifo(trial.folder / name)
        feeding = threading.Thread(target=trial.ffmpeg, args=("-i", "film.mkv", "-c:v", "rawvideo", "-pix_fmt", "rgb24",
                                                             "-f", "nut", "in.nut"), daemon=True)
        taking = threading.Thread(target=trial.ffmpeg, args=("-i", "out.nut", "-vf", "format=gbrp", "-c:v", "ffv1",
                                                            "taken.mkv"), daemon=True)
        feeding.start()
        taking.start()
        trial.run(copier("in.nut", "out.nut"))
        feeding.join(20)
        taking.join(20)
        trial.expect(not (feeding.is_alive() or taking.is_alive()), "a pipe was left open")
        trial.expect(os.path.exists(trial.folder / "taken.mkv"), "nothing arrived")
        compare_frames(trial, "the frames", frames_of(trial, "taken.mkv"), frames_of(trial, "film.mkv"))


@dataclasses.dataclass
class PutAway:
    """What is read from a pipe may be written to a file, and the other way round."""
    name: str
    reading: bool  # from the pipe
    quick: bool = False

    def run(self, trial):
        trial.ffmpeg(*test_film, "-c:v", "libx264", "film.mp4")
        if self.reading:
            sent = trial.ffmpeg("-i", "film.mp4", "-c", "copy", "-f", "mpegts", "-")
            ended = trial.zun(copier("-", "taken.mp4"), stdin=None, input=sent)
        else:
            ended = trial.zun(copier("film.mp4", "-", {}, {"container": "mkv"}))
            (trial.folder / "taken.mp4").write_bytes(ended.stdout)
        if ended.returncode != 0:
            raise Fault(ended.stderr)
        source, taken = probe(trial, "film.mp4"), probe(trial, "taken.mp4")
        trial.equal("frames", taken.count, source.count)
        trial.near("rate", taken.rate, source.rate, 0.1)
        compare_frames(trial, "the frames", frames_of(trial, "taken.mp4"), frames_of(trial, "film.mp4"), 8)


def rows():
    nut = ["-c:v", "rawvideo", "-pix_fmt", "rgb24", "-f", "nut"]
    return [
        Piped("NUT to NUT", nut, "nut", ["-f", "nut"], quick=True),
        Piped("Y4M to Y4M", ["-pix_fmt", "yuv444p", "-f", "yuv4mpegpipe"], "y4m", ["-f", "yuv4mpegpipe"],
              writing={"pixelFormat": "yuv444p"}, loss=2),
        Piped("raw to raw", ["-f", "rawvideo", "-pix_fmt", "rgb24"], "rawvideo",
              ["-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "96x64", "-r", "30"], reading=raw, quick=True),
        Piped("raw YUV to NUT", ["-f", "rawvideo", "-pix_fmt", "yuv444p"], "nut", ["-f", "nut"],
              reading={**raw, "format": "yuv444p"}, loss=2),
        Piped("NUT to Matroska", nut, "mkv", [], writing={"lossless": True}),
        Pictures("ppm"),
        Pictures("png"),
        NamedPipes(),
        PutAway("a transport stream from a pipe to a file", True),
        PutAway("a file to a pipe as Matroska", False),
    ]
