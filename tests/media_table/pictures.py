"""Still pictures of every usual kind, compared with what Pillow makes of them."""

import dataclasses

import numpy
from PIL import Image, ImageOps, TiffImagePlugin

from tools import compare_frames, copier, distance, reader, writer

convert = "/usr/bin/convert"  # ImageMagick


def pattern(columns=40, rows=60):
    """No two corners alike, no two channels alike, few sharp edges."""
    down, right = numpy.mgrid[0:rows, 0:columns]
    red, green = 255 * right // (columns - 1), 255 * down // (rows - 1)
    blue = numpy.where((right < columns // 3) & (down < rows // 4), 230, 40)
    return numpy.dstack([red, green, blue]).astype(numpy.uint8)


def alpha(rows=60, columns=40):
    return numpy.linspace(0, 255, rows * columns).astype(numpy.uint8).reshape(rows, columns)


def colour():
    return Image.fromarray(pattern())


def with_alpha():
    return Image.fromarray(numpy.dstack([pattern(), alpha()]))


def grey16():
    return Image.fromarray((pattern()[:, :, 0] * 257.0 + 3).clip(0, 65535).astype(numpy.uint16))


def grey16_as_bytes():
    return numpy.dstack([pattern()[:, :, 0]] * 3)


def pgm16(file):
    with open(file, "wb") as out:
        out.write(b"P5 40 60 65535\n" + numpy.array(grey16()).astype(">u2").tobytes())


def oriented(value):
    exif = Image.Exif()
    exif[0x0112] = value
    return exif


@dataclasses.dataclass
class Picture:
    """Made by a function of the file's name or by the words of a command, and read."""
    name: str
    file: str
    make: object
    truth: object = None  # a function that gives the RGB pixels; else what Pillow reads
    most: int = 0  # difference of a pixel
    reading: dict = dataclasses.field(default_factory=dict)
    says: tuple = ()
    quick: bool = False

    def prepare(self, trial):
        if callable(self.make):
            self.make(trial.path(self.file))
        else:
            colour().save(trial.path("pattern.png"))
            trial.make(*[word.replace("{}", self.file) for word in self.make])

    def wanted(self, trial):
        if self.truth is not None:
            return [self.truth()]
        with Image.open(trial.path(self.file)) as picture:
            # Pillow itself turns a TIFF as it loads it.
            as_stored = self.reading.get("orientation") == "keep" or picture.format == "TIFF"
            upright = picture if as_stored else ImageOps.exif_transpose(picture)
            return [numpy.array(upright.convert("RGB"))]

    def run(self, trial):
        self.prepare(trial)
        said = trial.run(copier(self.file, "read-%d.png", self.reading))
        trial.says(said, self.says)
        wanted = self.wanted(trial)
        found = [numpy.array(Image.open(file)) for file in sorted(trial.folder.glob("read-*.png"))]
        compare_frames(trial, "pixels", found, wanted, min(self.most, 1), self.most)


class Pages(Picture):
    """Several pictures in one file are ticks."""

    def wanted(self, trial):
        with Image.open(trial.path(self.file)) as picture:
            pages = []
            for page in range(picture.n_frames):
                picture.seek(page)
                pages.append(numpy.array(picture.convert("RGB")))
            return pages


@dataclasses.dataclass
class WrittenPicture:
    """A picture that zun writes, as Pillow reads it."""
    file: str
    writing: dict = dataclasses.field(default_factory=dict)
    most: int = 0  # difference of a pixel
    mode: str = "RGB"
    grey: bool = False
    check: object = None  # a function of the trial and the opened picture
    quick: bool = False

    @property
    def name(self):
        return f"written as {self.file} {self.writing or ''}{' in grey' if self.grey else ''}"

    def run(self, trial):
        colour().save(trial.path("pattern.png"))
        port = "grey" if self.grey else "rgb"
        trial.run([reader("pattern.png", port), writer(self.file, **self.writing)])
        with Image.open(trial.path(self.file)) as picture:
            picture.load()
            trial.equal("mode", picture.mode, self.mode)
            wanted = numpy.array(colour().convert("L" if self.grey else "RGB"))
            self.judge(trial, "", numpy.array(picture.convert("L" if self.grey else "RGB")), wanted)
            if self.check:
                self.check(trial, picture)
        trial.run(copier(self.file, "again.png"))
        again = numpy.array(Image.open(trial.path("again.png")).convert("RGB"))
        self.judge(trial, "read again, ", again, numpy.dstack([wanted] * 3) if self.grey else wanted)

    def judge(self, trial, when, found, wanted):
        mean, worst = distance(found, wanted)
        trial.expect(worst <= self.most + self.grey and mean <= 2.5, f"{when}pixels differ by {mean} to {worst}")


@dataclasses.dataclass
class Qualities:
    """A higher quality is a larger file, above 95 as well."""
    ending: str
    name: str = ""
    quick: bool = False

    def run(self, trial):
        noise = numpy.random.default_rng(5).integers(0, 256, (80, 80, 3), numpy.uint8)
        Image.fromarray(noise).save(trial.path("noise.png"))
        sizes = []
        for quality in (20, 60, 90, 95, 98, 100):
            trial.run(copier("noise.png", f"q{quality}.{self.ending}", writing={"quality": quality}))
            sizes.append((trial.folder / f"q{quality}.{self.ending}").stat().st_size)
        trial.expect(all(a < b for a, b in zip(sizes, sizes[1:])), f"sizes by quality: {sizes}")


@dataclasses.dataclass
class ManyFiles:
    """Pictures of a folder, a glob or a list come out in natural order, under their own names."""
    name: str
    path: str
    files: tuple  # that are there
    taken: tuple  # in the order of ticks; the stems
    reading: dict = dataclasses.field(default_factory=dict)
    written: str = "out/{stem}-{tick}.png"
    says: tuple = ()
    quick: bool = False

    def run(self, trial):
        (trial.folder / "out").mkdir()
        (trial.folder / "in").mkdir()
        for place, file in enumerate(self.files):
            Image.fromarray(numpy.full((4 + place, 5, 3), 9 * place, numpy.uint8)).save(trial.folder / "in" / file)
        (trial.folder / "in/list.txt").write_text("photo10.png\nphoto2.png\n")
        (trial.folder / "in/notes.md").write_text("Not a picture.\n")
        said = trial.run(copier("in/" + self.path, self.written, self.reading))
        trial.says(said, self.says)
        found = sorted(file.name for file in (trial.folder / "out").iterdir())
        trial.equal("files", found, sorted(f"{stem}-{tick}.png" for tick, stem in enumerate(self.taken)))
        for tick, stem in enumerate(self.taken):
            source = next(file for file in self.files if file.rsplit(".", 1)[0] == stem)
            with Image.open(trial.folder / "out" / f"{stem}-{tick}.png") as picture:
                trial.equal(f"rows of {stem}", picture.height, 4 + self.files.index(source))


def save(make, **options):
    return lambda file: make().save(file, **options)


def magick(*words):
    return [convert, "pattern.png", *words, "{}"]


def tiffs():
    pillow = {"raw": None, "LZW": "tiff_lzw", "deflate": "tiff_adobe_deflate", "packbits": "packbits"}
    tags = TiffImagePlugin.ImageFileDirectory_v2()
    tags[65000] = "a tag that nobody knows"
    tags[270] = "a description"
    binary = colour().convert("1")
    return [
        *(Picture(f"TIFF, {name}", "a.tif", save(colour, compression=compression), quick=name == "LZW")
          for name, compression in pillow.items()),
        Picture("TIFF, LZW with a predictor, as OpenCV writes it", "a.tif",
                save(colour, compression="tiff_lzw", tiffinfo={317: 2})),
        Picture("TIFF with unknown tags", "a.tif", save(colour, tiffinfo=tags), quick=True),
        Picture("TIFF, JPEG", "a.tif", save(colour, compression="jpeg", quality=95), most=3),
        Picture("TIFF, fax", "a.tif", save(lambda: binary, compression="group4")),
        Picture("TIFF, bits", "a.tif", save(lambda: binary)),
        Picture("TIFF, grey", "a.tif", save(lambda: colour().convert("L"))),
        Picture("TIFF, palette", "a.tif", save(lambda: colour().quantize(32))),
        Picture("TIFF, alpha", "a.tif", save(with_alpha), lambda: pattern(), says=("alpha",)),
        Picture("TIFF, CMYK", "a.tif", save(lambda: colour().convert("CMYK")), most=2),
        Picture("TIFF, 16-bit grey", "a.tif", save(grey16), grey16_as_bytes, most=1,
                says=("16 bits",)),
        Picture("TIFF of ImageMagick, big-endian", "a.tif", magick("-endian", "MSB")),
        Picture("TIFF of ImageMagick, 16 bits", "a.tif", magick("-depth", "16"), pattern, most=1, says=("16 bits",)),
        Picture("TIFF of ImageMagick, planes", "a.tif", magick("-interlace", "plane")),
        Picture("TIFF of ImageMagick, tiles", "a.tif", magick("-define", "tiff:tile-geometry=16x16")),
        Picture("TIFF of ImageMagick, strips", "a.tif", magick("-define", "tiff:rows-per-strip=7", "-compress", "zip")),
        Picture("TIFF of ImageMagick, light is 0", "a.tif",
                magick("-colorspace", "gray", "-define", "quantum:polarity=min-is-white")),
        Picture("BigTIFF", "a.tif", [convert, "pattern.png", "TIFF64:{}"]),
        Pages("TIFF of three pages", "a.tif",
              lambda file: colour().save(file, save_all=True, append_images=[colour().rotate(180), with_alpha()
                                                                             .convert("RGB").rotate(90)])),
        *(Picture(f"TIFF of orientation {value}", "a.tif", save(colour, tiffinfo={274: value})) for value in (3, 6)),
    ]


def pngs():
    grey_alpha = Image.merge("LA", [colour().convert("L"), Image.fromarray(alpha())])
    clear = colour().quantize(16)
    clear.info["transparency"] = 3
    animated = [colour(), colour().rotate(180), colour().transpose(Image.Transpose.FLIP_LEFT_RIGHT)]
    return [
        Picture("PNG", "a.png", save(colour), quick=True),
        Picture("PNG, palette", "a.png", save(lambda: colour().quantize(64)), quick=True),
        Picture("PNG, palette with a transparent entry", "a.png", save(lambda: clear, transparency=3),
                lambda: numpy.array(colour().quantize(16).convert("RGB")), says=("alpha",)),
        Picture("PNG, 1 bit", "a.png", save(lambda: colour().convert("1"))),
        Picture("PNG, alpha", "a.png", save(with_alpha), pattern, says=("alpha",), quick=True),
        Picture("PNG, grey and alpha", "a.png", save(lambda: grey_alpha),
                lambda: numpy.array(colour().convert("L").convert("RGB")), says=("alpha",)),
        Picture("PNG, 16-bit grey", "a.png", save(grey16), grey16_as_bytes, most=1,
                says=("16 bits",)),
        Picture("PNG, 16-bit colour", "a.png", [convert, "pattern.png", "-depth", "16", "PNG48:{}"], pattern, most=1,
                says=("16 bits",)),
        Picture("PNG, interlaced", "a.png", magick("-interlace", "PNG")),
        Pages("PNG, animated", "a.png", lambda file: animated[0].save(file, save_all=True, append_images=animated[1:],
                                                                      duration=100)),
    ]


def jpegs():
    return [
        *(Picture(f"JPEG of EXIF orientation {value}", "a.jpg", save(colour, quality=95, exif=oriented(value)),
                  quick=value == 6) for value in range(1, 9)),
        Picture("JPEG of EXIF orientation 6, kept", "a.jpg", save(colour, quality=95, exif=oriented(6)),
                reading={"orientation": "keep"}),
        Picture("PNG of EXIF orientation 8", "a.png", save(colour, exif=oriented(8))),
        Picture("WebP of EXIF orientation 5", "a.webp", save(colour, lossless=True, exif=oriented(5))),
        Picture("JPEG, 4:4:4", "a.jpg", save(colour, quality=95, subsampling=0)),
        Picture("JPEG, progressive", "a.jpg", save(colour, quality=95, progressive=True)),
        Picture("JPEG, grey", "a.jpg", save(lambda: colour().convert("L"), quality=95)),
        Picture("JPEG, CMYK", "a.jpg", save(lambda: colour().convert("CMYK"), quality=95)),
        Picture("JPEG of ImageMagick in RGB", "a.jpg", magick("-colorspace", "sRGB", "-sampling-factor", "4:2:2")),
        Picture("JPEG under the name of a PNG", "a.png", lambda file: colour().save(file, "JPEG", quality=95)),
    ]


def others():
    return [
        Picture("WebP, lossless", "a.webp", save(colour, lossless=True)),
        Picture("WebP, with loss", "a.webp", save(colour, quality=95), most=20),
        Picture("WebP, alpha", "a.webp", save(with_alpha, lossless=True, exact=True), pattern, says=("alpha",)),
        Picture("AVIF", "a.avif", ["ffmpeg", "-v", "error", "-i", "pattern.png", "-frames:v", "1", "-c:v", "libaom-av1",
                                   "-still-picture", "1", "-crf", "8", "-cpu-used", "8", "-pix_fmt", "yuv444p",
                                   "-vf", "scale=out_color_matrix=bt709:out_range=pc", "-colorspace", "bt709",
                                   "-color_range", "pc", "{}"], pattern, most=24),
        Picture("BMP", "a.bmp", save(colour), quick=True),
        Picture("BMP of a palette", "a.bmp", save(lambda: colour().quantize(16))),
        Picture("PPM", "a.ppm", save(colour)),
        Picture("PGM", "a.pgm", save(lambda: colour().convert("L"))),
        Picture("PGM, 16 bits", "a.pgm", pgm16, grey16_as_bytes, most=1, says=("16 bits",)),
        Picture("Targa", "a.tga", save(colour)),
    ]


def level_of(trial, picture):
    trial.expect(picture.info.get("compression") != "raw", "the strips are not compressed")


def written():
    return [
        *(WrittenPicture(f"a.{ending}", quick=ending == "png") for ending in ("png", "bmp", "tif", "tiff", "ppm")),
        WrittenPicture("a.tif", check=level_of),
        WrittenPicture("a.png", grey=True, mode="L"),
        WrittenPicture("a.tif", grey=True, mode="L"),
        WrittenPicture("a.png", {"pngLevel": 0}),
        WrittenPicture("a.png", {"pngLevel": 9}),
        WrittenPicture("a.jpg", {"quality": 98}, most=6),
        WrittenPicture("a.jpg", {"quality": 90}, most=16, grey=True, mode="L"),
        WrittenPicture("a.webp", {"quality": 95}, most=120),
        WrittenPicture("a.webp", {"lossless": True}),
        Qualities("jpg", "quality of a JPEG"),
        Qualities("webp", "quality of a WebP"),
    ]


def many_files():
    mixed = ("photo10.png", "photo2.png", "photo1.jpg")
    numbered = ("f001.png", "f002.png", "f004.png")
    return [
        ManyFiles("a folder in natural order", "", mixed, ("photo1", "photo2", "photo10"), quick=True),
        ManyFiles("a glob", "photo*.png", mixed, ("photo2", "photo10")),
        ManyFiles("a list", "list.txt", mixed, ("photo10", "photo2")),
        ManyFiles("a sequence that begins at 1", "f%03d.png", numbered[:2], ("f001", "f002"), says=("f001.png",)),
        ManyFiles("a sequence with a gap, skipped", "f%03d.png", numbered, ("f001", "f002", "f004"), {"gaps": "skip"}),
        ManyFiles("a sequence from a number on", "f%03d.png", numbered, ("f004",), {"first": 4}),
        ManyFiles("a name with a percent sign", "50%.png", ("50%.png",), ("50%",)),
    ]


def rows():
    return [*pngs(), *jpegs(), *tiffs(), *others(), *written(), *many_files()]
