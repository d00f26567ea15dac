"""Videos and animations: read, written, read again."""

import dataclasses
import json

from PIL import Image

from tools import bare_frames, compare_frames, copier, frames_of, probe, writer

exact = {"lossless": True}
bare = {"container": "rawvideo", "times": "constant", "audio": "none"}  # nothing but the bytes of the frames
odd_delays = "setpts='(floor(N/3)*5+mod(N,3))/30/TB'"  # frames 1/30 s apart, and a longer pause after each third


def video(rate=30, seconds=1, size="96x64", filters=""):
    return ["-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}:duration={seconds}{filters}"]


def sound(seconds=1):
    return ["-f", "lavfi", "-i", f"sine=frequency=440:sample_rate=48000:duration={seconds}"]


x264 = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"]
aac = ["-c:a", "aac", "-b:a", "64k"]
talking = [*video(), *sound(), *x264, *aac]


@dataclasses.dataclass
class Clip:
    """Made with `make`, copied by zun, and compared with itself."""
    name: str
    source: str
    make: list  # words for ffmpeg before the name; a list of lists for several steps, {n} is the result of step n
    written: str = "written.mp4"
    reading: dict = dataclasses.field(default_factory=dict)
    writing: dict = dataclasses.field(default_factory=dict)
    words: tuple = ()  # further arguments of zun
    differs: dict = dataclasses.field(default_factory=dict)  # Facts that are other in the result than in the source
    says: tuple = ()  # patterns
    loss: float = 8  # mean difference of pixels, of 255; 0: none at all
    pixels: bool = True
    quick: bool = False
    time_error: float = 0.0021  # seconds; two formats may count in milliseconds

    def prepare(self, trial):
        steps = self.make if isinstance(self.make[0], list) else [self.make]
        for place, step in enumerate(steps):
            last = place + 1 == len(steps)
            names = [word.replace("{0}", f"0-{self.source}").replace("{1}", f"1-{self.source}") for word in step]
            trial.ffmpeg(*names, self.source if last else f"{place}-{self.source}")

    def run(self, trial):
        self.prepare(trial)
        # Beside its result the run writes down what it saw.
        nodes = copier(self.source, self.written, self.reading, self.writing)
        nodes.append(writer("seen.rgb", "seen", **bare))
        said = trial.run(nodes, *self.words)
        trial.says(said, self.says)
        result = probe(trial, self.written)
        self.compare(trial, probe(trial, self.source), result)
        if self.pixels:
            self.compare_pixels(trial, result.size)

    def compare(self, trial, source, result):
        wanted = dataclasses.replace(source, **self.differs)
        for what in ("size", "count", "sound", "aspect", *[key for key in self.differs if key in ("codec",
                                                                                              "pixel_format")]):
            trial.equal(what, getattr(result, what), getattr(wanted, what))
        if wanted.rate is not None:
            trial.near("rate", result.rate, wanted.rate, 0.02 * wanted.rate)
        trial.near("duration", result.duration, wanted.duration, 0.05)
        trial.near("duration of the sound", result.sound_duration, wanted.sound_duration, 0.06)
        if wanted.sound:
            trial.near("sound after pictures", result.start_gap, wanted.start_gap, 0.06)
        if wanted.count == len(wanted.times) == len(result.times):
            late = max((abs(a - b) for a, b in zip(result.times, wanted.times)), default=0)
            trial.expect(late <= self.time_error, f"a frame is {late:.4f} s off: {result.times} {wanted.times}")

    def compare_pixels(self, trial, size):
        seen = bare_frames(trial, "seen.rgb", size)
        compare_frames(trial, "the frames as read", seen, self.shown(trial, seen), 0.75)
        compare_frames(trial, "the frames as written", frames_of(trial, self.written), seen, self.loss)
        trial.run(copier(self.written, "again.rgb", writing=bare))
        compare_frames(trial, "the frames read again", bare_frames(trial, "again.rgb", size), seen, self.loss)

    def shown(self, trial, seen):
        before = ["-noautorotate"] if self.reading.get("orientation") == "keep" else []
        frames = frames_of(trial, self.source, before=before)
        if self.reading.get("deinterlace"):
            return seen  # filters differ in taste; that the combs are gone shows below
        return frames[:self.differs.get("count", len(frames))]


class Deinterlaced(Clip):
    """Motion combs are gone: neighbouring rows look alike as they do in the film before it was interlaced."""

    def compare_pixels(self, trial, size):
        combs = [sum(abs(frame[1:-1].astype(int) * 2 - frame[:-2] - frame[2:]).mean() for frame in frames) / len(frames)
                 for frames in (frames_of(trial, self.source), bare_frames(trial, "seen.rgb", size))]
        trial.expect(combs[1] < 0.7 * combs[0], f"combs are left: {combs[1]:.2f} of {combs[0]:.2f}")


class CutInTheMiddle(Clip):
    """A transport stream whose first half is gone: it begins inside of a group of pictures."""

    def prepare(self, trial):
        trial.ffmpeg(*self.make, "whole.ts")
        whole = (trial.folder / "whole.ts").read_bytes()
        (trial.folder / self.source).write_bytes(whole[len(whole) // 2 // 188 * 188:])


def probed(trial, file, *words):
    return json.loads(trial.make("ffprobe", "-v", "quiet", "-of", "json", *words, file))


class KeyFrameLate(CutInTheMiddle):
    """What comes before the first key frame is passed over, and so is the sound beside it."""

    def run(self, trial):
        self.prepare(trial)
        trial.run(copier(self.source, self.written))
        words = ("-select_streams", "a", "-show_data_hash", "md5", "-show_entries", "packet=pts_time,data_hash")
        heard = {name: {part["data_hash"]: float(part["pts_time"]) for part in probed(trial, name, *words)["packets"]}
                 for name in (self.source, self.written)}
        shown = probed(trial, self.source, "-select_streams", "v", "-show_entries", "packet=pts_time,flags")["packets"]
        begin = min(float(part["pts_time"]) for part in shown if "K" in part["flags"])
        late = [heard[self.source][part] - begin - time for part, time in heard[self.written].items()]
        trial.expect(len(late) > 10 and max(map(abs, late)) < 0.003, f"sound is {late} s off")


class LyingHeader(Clip):
    """The container states ten times as many frames as it has."""

    def prepare(self, trial):
        super().prepare(trial)
        data = bytearray((trial.folder / self.source).read_bytes())
        for tag, offset in ((b"avih", 24), (b"strh", 40)):
            place = data.index(tag) + offset
            data[place:place + 4] = (300).to_bytes(4, "little")
        (trial.folder / self.source).write_bytes(data)


class Plays(Clip):
    """An animation is played as often as before."""

    def compare_pixels(self, trial, size):
        loops = [Image.open(trial.path(name)).info.get("loop") for name in (self.source, self.written)]
        trial.equal("loops", loops[1], loops[0])


def rotated(degrees):
    return [talking, ["-i", "{0}", "-c", "copy", "-metadata:s:v:0", f"rotate={degrees}"]]


def rows():
    # Upright stripes that run to the left.
    moving = "testsrc2=size=96x64:rate=50:duration=1,gblur=sigma=1:sigmaV=30,scroll=horizontal=0.08"
    interlaced = ["-f", "lavfi", "-i", moving + ",tinterlace=interleave_top,fieldorder=tff", "-c:v", "libx264", "-flags",
                  "+ildct+ilme", "-x264opts", "tff=1", "-pix_fmt", "yuv420p", "-top", "1"]
    sweep = ["-f", "lavfi", "-i", "aevalsrc=sin(2*PI*t*(200+200*t)):d=4"]  # no two packets are alike
    uneven = {"rate": None}  # what a container states as the rate depends on how it averages
    varied = [*video(filters=f",{odd_delays}"), "-vsync", "vfr"]
    dull = {"sound": None, "sound_duration": 0.0, "start_gap": 0.0}
    return [
        Clip("30 fps and AAC in MP4", "a.mp4", talking, quick=True, differs={"codec": "h264",
                                                                             "pixel_format": "yuv420p"}),
        Clip("24000/1001 fps and PCM in MOV", "a.mov", [*video("24000/1001"), *sound(), *x264, "-c:a", "pcm_s16le"],
             "written.mov"),
        Clip("30000/1001 fps", "a.mp4", [*video("30000/1001"), *x264]),
        Clip("59.94 fps and MP3 in Matroska", "a.mkv", [*video("60000/1001"), *sound(), *x264, "-c:a", "libmp3lame"],
             "written.mkv"),
        Clip("VP9 and Opus in WebM", "a.webm", [*video(25), *sound(), "-c:v", "libvpx-vp9", "-deadline", "realtime",
                                                "-cpu-used", "8", "-c:a", "libopus"]),
        Clip("Vorbis to Matroska", "a.mkv", [*video(), *sound(), *x264, "-c:a", "libvorbis"], "written.mkv"),
        Clip("MPEG-4 and MP3 in AVI", "a.avi", [*video(), *sound(), "-c:v", "mpeg4", "-q:v", "3", "-c:a", "libmp3lame"],
             differs=uneven),  # the file leaves out a frame
        Clip("MPEG-2 and MP2 in a program stream", "a.mpg", [*video(25), *sound(), "-c:v", "mpeg2video", "-q:v", "3",
                                                             "-c:a", "mp2"], "written.mkv"),
        Clip("a transport stream that begins at 1.4 s", "a.ts", talking),
        Clip("Motion JPEG of full range", "a.avi", [*video(15), "-c:v", "mjpeg", "-q:v", "3", "-pix_fmt", "yuvj420p"]),
        Clip("H.265 with 10 bits", "a.mp4", [*video(), "-c:v", "libx265", "-preset", "ultrafast", "-x265-params",
                                             "log-level=error", "-pix_fmt", "yuv420p10le", "-tag:v", "hvc1"],
             says=("10 bits",)),
        Clip("AV1", "a.mp4", [*video(10), "-c:v", "libsvtav1", "-preset", "12"]),
        Clip("ProRes", "a.mov", [*video(), "-c:v", "prores_ks"], "written.mov", writing={"codec": "prores"},
             differs={"codec": "prores"}, says=("10 bits",)),
        Clip("QuickTime Animation with alpha", "a.mov", [*video(filters=",format=argb"), "-c:v", "qtrle"],
             says=("alpha",), loss=14),
        Clip("grey FFV1 of three rows", "a.mkv", [*video(size="16x3", filters=",format=gray"), "-c:v", "ffv1"],
             "written.mkv", writing=exact, loss=0),
        Clip("RGB to the bit through FFV1", "a.mkv", [*video(filters=",format=gbrp"), "-c:v", "ffv1"], "written.mkv",
             writing=exact, loss=0, quick=True),
        Clip("RGB to the bit through H.264", "a.mkv", [*video(filters=",format=gbrp"), "-c:v", "ffv1"], "written.mp4",
             writing=exact, loss=0),
        Clip("4:4:4", "a.mkv", [*video(), "-c:v", "libx264", "-pix_fmt", "yuv444p"], writing={"pixelFormat": "yuv444p"},
             differs={"pixel_format": "yuv444p"}),
        *(Clip(f"turned by {degrees} degrees", "a.mp4", rotated(degrees), quick=degrees == 90)
          for degrees in (90, 180, 270)),
        Clip("turned by 90 degrees, and kept", "a.mp4", rotated(90), reading={"orientation": "keep"},
             differs={"size": (96, 64)}),
        Clip("pixels wider than high", "a.mp4", [*video(filters=",setsar=4/3"), *x264]),
        Clip("a variable rate from MP4 to MP4", "a.mp4", [*varied, "-video_track_timescale", "30k", *x264],
             differs=uneven),
        Clip("a variable rate to Matroska", "a.mp4", [*varied, "-video_track_timescale", "30k", *x264], "written.mkv",
             differs=uneven),
        Clip("a variable rate from Matroska", "a.mkv", [*varied, *sound(), *x264, "-c:a", "aac"],
             differs=uneven),
        Clip("an edit list after a cut without encoding", "a.mp4",
             [[*talking, "-g", "30", "-bf", "2"], ["-ss", "0.4", "-i", "{0}", "-c", "copy"]]),
        CutInTheMiddle("a transport stream from its middle", "a.ts",
                       [*video(seconds=3), *sound(3), *x264, "-g", "15", *aac]),
        KeyFrameLate("sound of a stream that begins long before its first key frame", "a.ts",
                     [*video(seconds=4), *sweep, *x264, "-g", "75", "-c:a", "mp2"], "written.mkv"),
        LyingHeader("a header that states too many frames", "a.avi", [*video(), "-c:v", "mjpeg", "-q:v", "3"]),
        Clip("a GIF with delays", "a.gif", [*video(10), "-vf", "setpts='(N+floor(N/2))/10/TB'", "-vsync", "vfr"],
             time_error=0.011, differs=uneven, loss=14),
        Clip("a GIF to a GIF", "a.gif", [*video(10)], "written.gif", loss=30, time_error=0.011),
        *(Plays(f"a GIF that is played {words}", "a.gif", [*video(10), "-loop", loop], "written.gif", loss=30,
                time_error=0.011) for words, loop in (("once", "-1"), ("without end", "0"), ("four times", "3"))),
        Clip("an animated PNG", "a.apng", [*video(10), "-f", "apng", "-plays", "0"]),
        Clip("interlaced frames, left as they are", "a.mp4", interlaced, says=("interlaced", "deinterlace")),
        Deinterlaced("interlaced frames, deinterlaced", "a.mp4", interlaced, reading={"deinterlace": True}),
        Clip("a short run cuts the sound", "a.mp4", talking, words=("--frames", "0:10"), quick=True,
             differs={"count": 10, "duration": 1 / 3, "sound_duration": 1 / 3, "times": [n / 30 for n in range(10)]}),
        Clip("without the sound", "a.mp4", talking, writing={"audio": "none"}, differs=dull),
        Clip("sound that the format can't hold", "a.mp4", talking, "written.gif", loss=30, time_error=0.011,
             differs=dull, says=("sound",)),
        Clip("a stated rate", "a.mp4", [*video(), *x264], writing={"fps": 10}, pixels=False,
             differs={"rate": 10.0, "duration": 3.0, "times": [n / 10 for n in range(30)]}),
        Clip("a constant rate from a variable one", "a.mkv", [*varied, *x264], writing={"times": "constant", "fps": 25},
             pixels=False, differs={"rate": 25.0, "duration": 30 / 25, "times": [n / 25 for n in range(30)]}),
        Listed("a list of two clips", "a.mp4", talking, says=("leaves out the sound", "several files")),
        Unsayable("a variable rate in AVI", "a.mkv", [*varied, *x264], "written.avi", says=("constant",)),
    ]


class Listed(Clip):
    """One clip twice, one after the other, without its sound, which is said."""

    def run(self, trial):
        self.prepare(trial)
        (trial.folder / "both.txt").write_text(f"{self.source}\n{self.source}\n")
        trial.says(trial.run(copier("both.txt", self.written)), self.says)
        once, twice = probe(trial, self.source), probe(trial, self.written)
        trial.equal("count", twice.count, 2 * once.count)
        trial.equal("sound", twice.sound, None)


class Unsayable(Clip):
    """The format can't hold it: an error in words, and a file of what it can hold, or none."""

    def run(self, trial):
        self.prepare(trial)
        ended = trial.zun(copier(self.source, self.written))
        trial.equal("exit status", ended.returncode, 1)
        trial.says(ended.stderr, (self.written, *self.says))
        if (trial.folder / self.written).exists():
            probe(trial, self.written)
