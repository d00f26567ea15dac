// Pictures and videos as other programs write them, read and compared with what Pillow, ImageMagick and FFmpeg make of
// them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <sys/stat.h>

#include "media/Host.h"
#include "media/HostNodes.h"
#include "media/files/FileList.h"
#include "media/reading/FrameReader.h"
#include "media/reading/Orientation.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::test {
namespace {

using namespace std::string_literals;
using Rgb = Mat<Vec3b, 2>;
using Grey = Mat<unsigned char, 2>;

struct Inputs : testing::Test {
    Inputs() {
        media::registerNodes();
        media::setWarningSink([this](std::string const &text) { warnings.push_back(text); });
    }
    ~Inputs() override { media::setWarningSink({}); }

    /// Runs a command of the shell in the folder.
    void run(std::string const &command) const {
        std::string const all = "cd " + folder.path.string() + " && (" + command + ") >log 2>&1 </dev/null";
        ASSERT_EQ(std::system(all.c_str()), 0) << command << "\n" << folder.read("log");
    }
    void ffmpeg(std::string const &arguments) const { run("ffmpeg -v error -y " + arguments); }
    void python(std::string const &script) const {
        folder.write("script.py", "from PIL import Image, ImageSequence\nimport numpy as np\n" + script);
        run("/usr/bin/python3 script.py");
    }

    Options file(std::string const &name, Options more = {}) const {
        more["path"] = Option(folder / name);
        return more;
    }

    struct Read {
        std::vector<Rgb> frames;
        std::vector<media::FrameSource> sources;
        std::string failure = "no failure";
    };

    /// All that a reader gives before it ends or fails.
    Read readAll(Options const &options) const {
        Read all;
        all.failure = messageOf([&] {
            OneNode reader("ReadFrames", options);
            Tick const end = reader.node->getRunUntil(10'000);
            for (Tick tick = 0; tick < end; tick++) {
                Values const values = reader.run({}, tick);
                if (values.empty()) {
                    EXPECT_TRUE(reader.node->processProgressNeverPossible());
                    break;
                }
                all.frames.push_back(held<Rgb>(values.at("out.rgb")));
                all.sources.push_back(held<media::FrameSource>(values.at("out.source")));
            }
        });
        return all;
    }

    static Forecast forecast(Options const &options) {
        NodeRegistry::Entry const &entry = *NodeRegistry::find("ReadFrames");
        std::unique_ptr<PipelineNode> const node(entry.factory({}, connected("ReadFrames", options)));
        return entry.facts.forecast(*node, nullptr);
    }
    static media::SourceInfo info(Options const &options) {
        Forecast const told = forecast(options);
        EXPECT_TRUE(told.problems.empty()) << told.problems.at(0);
        return *dynamic_cast<VariantType<media::FrameSource> const &>(*told.source).value.info;
    }

    /// What a file's frames should be: rows of RGB in a file beside it.
    void expectPixels(std::string const &name, Rgb const &frame, int tolerance = 0, std::size_t page = 0) const {
        std::string const expected = folder.read(name + ".rgb");
        ASSERT_LE(frame.bytes() * (page + 1), expected.size()) << name;
        auto const *const got = reinterpret_cast<unsigned char const *>(frame.first());
        for (std::size_t i = 0; i < frame.bytes(); i++)
            ASSERT_NEAR(got[i], static_cast<unsigned char>(expected[page * frame.bytes() + i]), tolerance)
                << name << " at byte " << i << " of page " << page;
    }

    std::vector<std::string> warnings;
    TemporaryFolder const folder;
};

/// Writes a picture and what it should be read as.
constexpr char const *pictureScript = R"(
rng = np.random.default_rng(5)
rgb = rng.integers(0, 256, (20, 27, 3), dtype=np.uint8)
grey = rgb[:, :, 0].copy()
smooth = np.linspace(0, 65535, 20 * 27).reshape(20, 27).astype(np.uint16)
def expect(name, array):
    a = np.asarray(array, dtype=np.uint8)
    (np.repeat(a[:, :, None], 3, 2) if a.ndim == 2 else a[:, :, :3]).tofile(name + '.rgb')
def keep(name, array, mode=None, expected=None, **more):
    Image.fromarray(array, mode).save(name, **more)
    expect(name, array if expected is None else expected)
def inks(array, name, **more):
    i = Image.fromarray(array, 'CMYK'); i.save(name, **more)
    rest = 255 - array.astype(np.uint32)
    expect(name, (rest[:, :, :3] * rest[:, :, 3:] + 127) // 255)
for how in ['raw', 'tiff_lzw', 'tiff_adobe_deflate', 'packbits']:
    keep(how + '.tif', rgb, compression=how)
    keep(how + '-grey.tif', grey, compression=how)
keep('16.tif', smooth, expected=np.round(smooth.astype(float) * 255 / 65535))
keep('16.png', smooth, expected=np.round(smooth.astype(float) * 255 / 65535))
inks(np.dstack([rgb, grey]), 'inks.tif')
alpha = np.dstack([rgb, grey])
for name in ['a.tif', 'a.png', 'a.webp', 'a.bmp']:
    Image.fromarray(alpha).save(name, **({'lossless': True, 'exact': True} if name == 'a.webp' else {}))
    expect(name, alpha)
Image.fromarray(alpha[:, :, 2:], 'LA').save('la.png'); expect('la.png', alpha[:, :, 2])
Image.fromarray(alpha[:, :, 2:], 'LA').save('la.tif'); expect('la.tif', alpha[:, :, 2])
for name in ['p.png', 'p.tif', 'p.gif', 'p.bmp']:
    i = Image.fromarray(rgb).quantize(64); i.save(name); expect(name, i.convert('RGB'))
i = Image.fromarray(rgb).quantize(64); i.save('trns.png', transparency=3); expect('trns.png', i.convert('RGB'))
for name in ['1.png', '1.tif', '1.bmp', '1.pbm']:
    i = Image.fromarray(grey).convert('1'); i.save(name); expect(name, i.convert('L'))
i = Image.fromarray(grey).convert('1'); i.save('fax.tif', compression='group4'); expect('fax.tif', i.convert('L'))
for name in ['plain.ppm', 'plain.bmp', 'plain.tga', 'plain.png']: keep(name, rgb)
keep('plain.pgm', grey)
big = Image.fromarray(rgb).resize((150, 110), Image.BICUBIC)
for name, im in [('c.jpg', big), ('g.jpg', big.convert('L')), ('prog.jpg', big)]:
    im.save(name, progressive=name == 'prog.jpg'); expect(name, Image.open(name).convert('RGB'))
big.convert('CMYK').save('cmyk.jpg')
a = np.asarray(Image.open('cmyk.jpg')).astype(np.uint32); rest = 255 - a
expect('cmyk.jpg', (rest[:, :, :3] * rest[:, :, 3:] + 127) // 255)
big.save('jpeg.tif', compression='jpeg'); expect('jpeg.tif', Image.open('jpeg.tif').convert('RGB'))
Image.fromarray(rgb).save('l.webp', lossless=True); expect('l.webp', rgb)
)";

TEST_F(Inputs, OfStillPicturesComeOutAsOtherProgramsReadThem) {
    python(pictureScript);
    run("convert raw.tif -define tiff:tile-geometry=16x16 tiled.tif; cp raw.tif.rgb tiled.tif.rgb;"
        "convert raw-grey.tif -define quantum:polarity=min-is-white white.tif;"
        "convert raw.tif -interlace plane planes.tif; cp raw.tif.rgb planes.tif.rgb;"
        ""
        "convert 16.png -endian MSB msb.tif; cp 16.png.rgb msb.tif.rgb");
    python("a = np.asarray(Image.open('white.tif')); np.repeat(a[:, :, None], 3, 2).tofile('white.tif.rgb')");
    std::size_t compared = 0;
    for (std::string const &name : folder.files()) {
        if (!name.ends_with(".rgb")) continue;
        std::string const picture = name.substr(0, name.size() - 4);
        Read const read = readAll(file(picture));
        EXPECT_EQ(read.failure, "no failure");
        ASSERT_EQ(read.frames.size(), 1u) << picture;
        expectPixels(picture, read.frames[0]);
        compared++;
    }
    EXPECT_GT(compared, 40u);
    for (auto const &[name, alpha, bits] : {std::tuple("a.png", true, 8),
                                            {"la.tif", true, 8},
                                            {"trns.png", true, 8},
                                            {"16.png", false, 16},
                                            {"16.tif", false, 16},
                                            {"a.webp", true, 8}}) {
        EXPECT_EQ(info(file(name)).alpha, alpha) << name;
        EXPECT_EQ(info(file(name)).bitDepth, bits) << name;
        expectParts(forecast(file(name)).warnings.at(0), {name, alpha ? "alpha" : "16 bits"});
    }
}

TEST_F(Inputs, ThatLieOnTheirSideAreTurnedUpright) {
    python(R"(
from PIL import ImageOps
a = np.random.default_rng(2).integers(0, 256, (5, 7, 3), dtype=np.uint8)
for value in range(1, 9):
    e = Image.Exif(); e[0x0112] = value
    for name, more in [('jpg', {}), ('png', {}), ('webp', {'lossless': True}), ('tif', {})]:
        n = '%d.%s' % (value, name)
        if name == 'tif': Image.fromarray(a).save(n, tiffinfo={0x0112: value})
        else: Image.fromarray(a).save(n, exif=e, **more)
        i = Image.open(n); i.load()
        i.convert('RGB').save('kept.ppm')
        open('kept-' + n + '.rgb', 'wb').write(np.asarray(Image.open('kept.ppm')).tobytes())
        t = {1: [], 2: [0], 3: [3], 4: [1], 5: [5], 6: [4], 7: [6], 8: [2]}[value]
        i = Image.open('kept.ppm')
        for step in t: i = i.transpose(step)
        np.asarray(i).tofile(n + '.rgb')
)");
    for (int value = 1; value <= 8; value++)
        for (std::string const ending : {"jpg", "png", "webp", "tif"}) {
            std::string const name = std::to_string(value) + "." + ending;
            Rgb const upright = readAll(file(name)).frames.at(0);
            EXPECT_EQ(upright.shape, value > 4 ? (Shape<2>{7, 5}) : (Shape<2>{5, 7})) << name;
            if (ending != "tif") expectPixels(name, upright); // Pillow turns a TIFF file itself
            media::SourceInfo const about = info(file(name));
            EXPECT_EQ(about.mirrored, value == 2 || value == 4 || value == 5 || value == 7) << name;
            EXPECT_EQ(about.rotation, (std::array{0, 0, 180, 180, 90, 90, 270, 270})[std::size_t(value) - 1]) << name;
            EXPECT_EQ(forecast(file(name)).bytes.at("rgb"), 105u);
            Rgb const kept = readAll(file(name, {{"orientation", "keep"}})).frames.at(0);
            EXPECT_EQ(elements(media::oriented(kept, {about.rotation, about.mirrored})), elements(upright));
            EXPECT_EQ(kept.shape, (Shape<2>{5, 7}));
            if (ending != "tif") expectPixels("kept-" + name, kept);
        }
    python("a = np.arange(105, dtype=np.uint8).reshape(5, 7, 3)\n"
           "Image.fromarray(a).save('r.tif', tiffinfo={0x0112: 6})\nnp.rot90(a, -1).tofile('r.tif.rgb')\n");
    expectPixels("r.tif", readAll(file("r.tif")).frames.at(0));
}

TEST_F(Inputs, OfSeveralPicturesInAFileHaveATickForEach) {
    python(R"(
a = np.random.default_rng(3).integers(0, 256, (4, 6, 8, 3), dtype=np.uint8)
for name in ['pages.tif', 'moving.png']:
    Image.fromarray(a[0]).save(name, save_all=True, append_images=[Image.fromarray(x) for x in a[1:]], duration=[40, 80, 120, 40], loop=3)
    a.tofile(name + '.rgb')
Image.fromarray(a[0]).save('moving.gif', save_all=True, append_images=[Image.fromarray(x) for x in a[1:]], duration=[40, 80, 120, 40], loop=3)
np.stack([np.asarray(f.convert('RGB')) for f in ImageSequence.Iterator(Image.open('moving.gif'))]).tofile('moving.gif.rgb')
Image.fromarray(a[0]).save('one.png')
)");
    for (std::string const name : {"pages.tif", "moving.png", "moving.gif"}) {
        Read const read = readAll(file(name));
        EXPECT_EQ(read.failure, "no failure");
        ASSERT_EQ(read.frames.size(), 4u) << name;
        bool const moves = name != "pages.tif";
        constexpr double starts[] = {0.0, 0.04, 0.12, 0.24};
        EXPECT_EQ(forecast(file(name)).moves, moves);
        for (std::size_t i = 0; i < 4; i++) {
            expectPixels(name, read.frames[i], 0, i);
            EXPECT_EQ(read.sources[i].number, i) << name;
            EXPECT_NEAR(read.sources[i].seconds(), moves ? starts[i] : 0.0, 1e-9) << name;
        }
        if (moves) {
            EXPECT_EQ(info(file(name)).loops, name == "moving.gif" ? 4 : 3) << "plays of " << name;
        }
        Read const later = readAll(file(name, {{"first", 2}, {"count", 1}}));
        ASSERT_EQ(later.frames.size(), 1u) << later.failure;
        EXPECT_EQ(elements(later.frames[0]), elements(read.frames[2]));
    }
    EXPECT_TRUE(OneNode("ReadFrames", file("one.png")).node->canSelfParallelise());
    EXPECT_FALSE(OneNode("ReadFrames", file("moving.png")).node->canSelfParallelise());
}

TEST_F(Inputs, ThatAreDamagedGiveOneClearError) {
    python("a = np.random.default_rng(4).integers(0, 256, (40, 50, 3), dtype=np.uint8)\n"
           "for n, m in [('x.tif', {}), ('lzw.tif', {'compression': 'tiff_lzw'}), ('x.jpg', {}), ('x.webp', {}),\n"
           "             ('x.png', {}), ('x.bmp', {}), ('jpeg.tif', {'compression': 'jpeg'})]:\n"
           "    Image.fromarray(a).save(n, **m)\n"
           "Image.fromarray(a[:, :, 0].astype(np.float32)).save('float.tif')\n");
    for (std::string const name : {"x.tif", "lzw.tif", "x.jpg", "x.webp", "x.png", "x.bmp", "jpeg.tif"}) {
        ASSERT_EQ(readAll(file(name)).failure, "no failure");
        std::string const whole = folder.read(name);
        for (std::size_t left = whole.size() * 9 / 10; left > 0; left = left * 2 / 3) {
            folder.write("cut-" + name, whole.substr(0, left));
            expectParts(readAll(file("cut-" + name)).failure, {folder / "cut-" + name});
        }
    }
    std::string jpeg = folder.read("x.jpg");
    for (std::size_t i = jpeg.size() / 2; i < jpeg.size() / 2 + 40; i++) jpeg[i] = '\x55';
    folder.write("scratched.jpg", jpeg.replace(jpeg.size() / 2 + 50, 20, 20, '\xFF'));
    expectParts(readAll(file("scratched.jpg")).failure, {"scratched.jpg' is damaged"});
    std::string png = folder.read("x.png");
    png.replace(16, 4, "\x7F\xFF\xFF\xFF", 4); // the width
    folder.write("wide.png", png);
    expectParts(readAll(file("wide.png")).failure, {"wide.png'"});
    expectParts(readAll(file("float.tif")).failure, {"float.tif' holds floating-point numbers"});

    std::filesystem::create_directory(folder / "folder.png");
    folder.write("empty.mp4", "");
    for (auto const &[path, why] : {std::pair(folder / "empty.mp4", "is empty"),
                                    {"/dev/null"s, "device"},
                                    {folder / "folder.png", "no pictures"},
                                    {folder / "lost.mp4", "doesn't exist"}}) {
        expectParts(readAll({{"path", path}}).failure, {why});
        expectParts(forecast({{"path", path}}).problems.at(0), {why});
    }
}

/// Clips, as FFmpeg makes them, and what is told of them.
struct Clip {
    std::string name, arguments;
    double rate;
    bool variable = false;
    std::string sound = {};
    int rotation = 0;
    media::Rational aspect{1, 1};
    std::string matrix = {};
};

TEST_F(Inputs, OfVideosKeepTheirTimes) {
    std::string const source = "-f lavfi -i testsrc2=s=96x64:r=30:d=1 ", sound = "-f lavfi -i sine=d=1 -c:a ",
                      h264 = " -c:v libx264 -preset ultrafast ";
    Clip const clips[] = {
        {"plain.mp4", source + sound + "aac" + h264, 30, false, "aac"},
        {"ntsc.mov", "-f lavfi -i testsrc2=s=96x64:r=30000/1001:d=1" + h264, 30000.0 / 1001},
        {"b-frames.mkv", source + "-c:v libx264 -bf 3", 30},
        {"open.ts", source + sound + "mp2 -c:v mpeg2video -bf 2", 30, false, "mp2"},
        {"vp9.webm", source + sound + "libopus -c:v libvpx-vp9 -cpu-used 8", 30, false, "opus"},
        {"uneven.mp4", source + "-vf \"select='not(mod(n,3))+gt(n,15)'\" -vsync vfr" + h264, 0, true},
        {"rotated.mp4", "-i plain.mp4 -an -c copy -metadata:s:v rotate=90", 30, false, "", 270},
        {"wide.mp4", source + h264 + "-vf setsar=4/3", 30, false, "", 0, {4, 3}},
        {"hd.mp4",
         source + h264 + "-colorspace bt709 -color_primaries bt709 -color_trc bt709",
         30,
         false,
         "",
         0,
         {1, 1},
         "bt709"},
    };
    for (Clip const &clip : clips) {
        SCOPED_TRACE(clip.name);
        bool const rotated = clip.rotation != 0;
        ffmpeg(clip.arguments + " " + clip.name);
        run("ffprobe -v error -select_streams v -show_entries frame=best_effort_timestamp_time -of csv=p=0 " +
            clip.name + " | tr -d , >times");
        Read const read = readAll(file(clip.name));
        EXPECT_EQ(read.failure, "no failure");
        std::ifstream times(folder / "times");
        double first = 0, time = 0;
        std::size_t count = 0;
        for (; times >> time; count++) {
            if (count == 0) first = time;
            ASSERT_LT(count, read.sources.size());
            EXPECT_NEAR(read.sources[count].seconds(), time - first, 2e-6);
        }
        EXPECT_EQ(read.frames.size(), count);
        EXPECT_GT(count, 10u);
        media::SourceInfo const about = info(file(clip.name));
        if (clip.rate != 0) {
            EXPECT_NEAR(about.rate.value(), clip.rate, 0.01);
        }
        EXPECT_EQ(about.variableRate, clip.variable);
        EXPECT_EQ(about.sound, clip.sound);
        EXPECT_EQ(about.pixelAspect, clip.aspect);
        EXPECT_EQ(about.matrix, clip.matrix);
        EXPECT_EQ(about.rotation, clip.rotation);
        EXPECT_TRUE(about.moving);
        EXPECT_EQ(read.frames.at(0).shape, rotated ? (Shape<2>{96, 64}) : (Shape<2>{64, 96}));
        ffmpeg("-i " + clip.name +
               " -vsync passthrough -sws_flags bicubic+accurate_rnd+full_chroma_int+full_chroma_inp"
               "+bitexact -pix_fmt rgb24 -f rawvideo " +
               clip.name + ".rgb"); // upright, too; turned before its chroma is made as large as its luma
        for (std::size_t i : {std::size_t(0), count / 2, count - 1})
            expectPixels(clip.name, read.frames[i], rotated ? 8 : 0, i);
    }
}

TEST_F(Inputs, ThatBeginInTheMiddleBeginAtTheFirstKeyFrame) {
    ffmpeg("-f lavfi -i testsrc2=s=320x240:r=30:d=2 -c:v libx264 -g 10 -bf 2 whole.ts");
    ffmpeg("-f lavfi -i testsrc2=s=320x240:r=30:d=2 -c:v libx264 -g 30 -bf 2 whole.mp4");
    ffmpeg("-ss 0.5 -i whole.mp4 -c copy edited.mp4");
    std::string const whole = folder.read("whole.ts");
    folder.write("middle.ts", whole.substr(188 * 100 + 77));
    for (auto const &[name, least, most] : {std::tuple("middle.ts", 20u, 58u), {"edited.mp4", 43u, 45u}}) {
        Read const read = readAll(file(name));
        EXPECT_EQ(read.failure, "no failure");
        EXPECT_TRUE(read.frames.size() >= least && read.frames.size() <= most) << name << read.frames.size();
        EXPECT_EQ(read.sources.at(0).time, 0);
    }
    Rgb const later = readAll(file("whole.mp4", {{"first", 15}, {"count", 1}})).frames.at(0);
    EXPECT_EQ(elements(readAll(file("edited.mp4")).frames.at(0)), elements(later)) << "an edit list hides frames";
    EXPECT_TRUE(warnings.empty());
}

TEST_F(Inputs, WithABrokenTailAreReadUpToIt) {
    ffmpeg("-f lavfi -i testsrc2=s=320x240:r=30:d=2 -c:v libx264 -preset ultrafast -g 10 -movflags faststart w.mp4");
    for (char const *name : {"w.mkv", "w.avi"}) ffmpeg(std::string("-i w.mp4 -c copy ") + name);
    for (std::string const name : {"w.mp4", "w.mkv", "w.avi"}) {
        SCOPED_TRACE(name);
        std::string const whole = folder.read(name);
        folder.write("cut-" + name, whole.substr(0, whole.size() * 6 / 10));
        Read const failing = readAll(file("cut-" + name));
        std::size_t const count = failing.frames.size();
        EXPECT_TRUE(count > 20 && count < 50) << count;
        expectParts(failing.failure,
                    {"cut-" + name + "' is damaged at frame " + std::to_string(count), "damaged: stop"});
        for (char const *how : {"stop", "skip"}) {
            warnings.clear();
            Read const read = readAll(file("cut-" + name, {{"damaged", how}}));
            EXPECT_EQ(read.failure, "no failure");
            EXPECT_EQ(read.frames.size(), count);
            expectParts(warnings.at(0), {"cut-" + name, how == std::string("stop") ? "ends there" : "left out"});
        }
        std::string scratched = whole;
        for (std::size_t i = whole.size() / 2; i < whole.size() / 2 + 3000; i += 3) scratched[i] ^= '\x5A';
        folder.write("scratched-" + name, scratched);
        EXPECT_LT(readAll(file("scratched-" + name)).frames.size(), 60u);
        expectParts(readAll(file("scratched-" + name)).failure, {"scratched-" + name + "' is damaged"});
        Read const rest = readAll(file("scratched-" + name, {{"damaged", "skip"}}));
        EXPECT_EQ(rest.failure, "no failure");
        EXPECT_TRUE(rest.frames.size() > 40 && rest.frames.size() < 60) << rest.frames.size();
    }
}

TEST_F(Inputs, OfInterlacedVideosAreMadeWholeWhereThatIsAskedFor) {
    ffmpeg("-f lavfi -i testsrc2=s=96x64:r=50:d=1 -vf tinterlace=interleave_top,setfield=tff -c:v mpeg2video -q:v 2 "
           "-flags +ildct+ilme i.mpg");
    expectParts(forecast(file("i.mpg")).warnings.at(0), {"is interlaced", "deinterlace: true"});
    EXPECT_TRUE(info(file("i.mpg")).interlaced);
    Read const woven = readAll(file("i.mpg")), whole = readAll(file("i.mpg", {{"deinterlace", true}}));
    EXPECT_EQ(whole.failure, "no failure");
    ASSERT_EQ(whole.frames.size(), woven.frames.size());
    EXPECT_TRUE(forecast(file("i.mpg", {{"deinterlace", true}})).warnings.empty());
    for (std::size_t i = 0; i < whole.sources.size(); i++)
        EXPECT_NEAR(whole.sources[i].seconds(), woven.sources[i].seconds(), 1e-9);
    EXPECT_NE(elements(whole.frames.at(5)), elements(woven.frames.at(5)));
}

TEST_F(Inputs, OfAListFollowOneAnother) {
    python("for i in [1, 2, 10]: Image.fromarray(np.full((i, 3, 3), i, dtype=np.uint8)).save('p%d.png' % i)\n");
    Read const pictures = readAll({{"path", folder / "p*.png"}});
    ASSERT_EQ(pictures.frames.size(), 3u) << pictures.failure;
    constexpr std::uint32_t heights[] = {1, 2, 10};
    for (std::size_t i = 0; i < 3; i++) {
        EXPECT_EQ(pictures.frames[i].shape[0], heights[i]) << "in natural order, of any size";
        EXPECT_EQ(pictures.sources[i].file, folder / ("p" + std::to_string(pictures.frames[i].shape[0]) + ".png"));
        EXPECT_EQ(pictures.sources[i].number, i);
    }
    EXPECT_EQ(pictures.sources[0].info->files.size(), 3u);
    Forecast const numbered = forecast(file("p%d.png", {{"gaps", "skip"}}));
    expectParts(numbered.notes.at(0), {"begins with '" + folder / "p1.png" + "'"});
    EXPECT_EQ(readAll(file("p%d.png", {{"gaps", "skip"}})).sources.at(2).number, 10u);

    ffmpeg("-f lavfi -i testsrc2=s=32x32:r=10:d=0.5 -c:v ffv1 one.mkv");
    ffmpeg("-f lavfi -i testsrc2=s=64x32:r=20:d=0.5 -c:v ffv1 two.mkv");
    folder.write("list.txt", "one.mkv\np1.png\ntwo.mkv\n");
    Read const mixed = readAll(file("list.txt", {{"first", 3}, {"repeat", 2}}));
    EXPECT_EQ(mixed.failure, "no failure");
    ASSERT_EQ(mixed.sources.size(), 2u * 13);
    std::vector<std::uint64_t> numbers;
    for (std::size_t i = 0; i < 13; i++) numbers.push_back(mixed.sources[i].number);
    EXPECT_EQ(numbers, (std::vector<std::uint64_t>{3, 4, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    for (std::size_t i = 1; i < mixed.sources.size(); i++)
        EXPECT_GT(mixed.sources[i].time, mixed.sources[i - 1].time) << "times go on at " << i;
    expectParts(readAll(file("list.txt", {{"count", 17}})).failure, {"list.txt' has 16 frames", "asks for 17"});
}

TEST_F(Inputs, OfRawBytesAreFramesOfTheStatedForm) {
    std::mt19937 random{1};
    Rgb const pixels = randomFrame<Vec3b>(6, 4, random);
    std::string const bytes(reinterpret_cast<char const *>(pixels.first()), pixels.bytes());
    folder.write("two.raw", bytes);
    Options const two = file("two.raw", {{"format", "rgb24"}, {"size", "4x3"}, {"fps", "30000/1001"}});
    Read const read = readAll(two);
    ASSERT_EQ(read.frames.size(), 2u) << read.failure;
    EXPECT_EQ(elements(read.frames[1])[0], pixels.first()[12]);
    EXPECT_NEAR(read.sources[1].seconds(), 1001.0 / 30000, 1e-12);
    EXPECT_EQ(readAll(file("two.raw", {{"format", "bgr24"}, {"size", "4x6"}})).frames.at(0).first()[0][0],
              pixels.first()[0][2]);
    EXPECT_EQ(readAll(file("two.raw", {{"format", "gray8"}, {"size", "8x9"}})).frames.at(0).first()[3][0],
              pixels.first()[1][0]);
    folder.write("short.raw", bytes.substr(0, 40));
    expectParts(readAll(file("short.raw", {{"format", "rgb24"}, {"size", "4x3"}})).failure,
                {"short.raw' ends within frame 1", "32 of its 36 bytes are missing"});
    expectParts(readAll(file("two.raw", {{"format", "rgb23"}, {"size", "4x3"}})).failure, {"'rgb23'", "rgb24"});
    expectParts(readAll(file("two.raw", {{"format", "rgb24"}})).failure, {"option size"});

    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(forecast(file("pipe", {{"format", "rgb24"}, {"size", "4x3"}})).bytes.at("rgb"), 36u) << "without waiting";
    std::thread writer([&] { folder.write("pipe", bytes + bytes.substr(0, 5)); });
    Read const piped = readAll(file("pipe", {{"format", "rgb24"}, {"size", "4x3"}}));
    writer.join();
    EXPECT_EQ(piped.frames.size(), 2u);
    expectParts(piped.failure, {"pipe' ends within frame 2", "31 of its 36"});
}

TEST_F(Inputs, OfPipesSayThemselvesWhatTheyAre) {
    ffmpeg("-f lavfi -i testsrc2=s=64x48:r=10:d=1,format=gray -c:v ffv1 clip.mkv");
    Read const expected = readAll(file("clip.mkv"));
    ASSERT_EQ(expected.frames.size(), 10u);
    for (std::string const form : {"-c copy -f matroska", "-c copy -f nut", "-f yuv4mpegpipe", "-f image2pipe -c:v png",
                                   "-f image2pipe -c:v pgm"}) {
        ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
        std::thread writer([&] { ffmpeg("-i clip.mkv " + form + " pipe"); });
        Read const read = readAll(file("pipe"));
        writer.join();
        EXPECT_EQ(read.failure, "no failure") << form;
        ASSERT_EQ(read.frames.size(), 10u) << form;
        EXPECT_EQ(elements(read.frames[9]), elements(expected.frames[9])) << form;
        std::filesystem::remove(folder / "pipe");
    }
    expectParts(readAll(file("clip.mkv", {{"repeat", 0}, {"count", 3}})).failure, {"no failure"});
}

TEST_F(Inputs, OutsideOfTheMachineNeedPermission) {
    for (auto const &[path, flag] : {std::pair("rtsp://127.0.0.1:1/stream", "--allow-network"),
                                     {"http://127.0.0.1:1/clip.mp4", "--allow-network"},
                                     {"v4l2:/dev/video99", "--allow-devices"}}) {
        expectParts(readAll({{"path", path}}).failure, {path, flag});
        media::hostSettings().allowNetwork = media::hostSettings().allowDevices = true;
        expectParts(readAll({{"path", path}}).failure, {std::string(path) + "' can't be opened: "});
        media::hostSettings() = {};
    }
    // A playlist names files of this machine, or an address.
    ffmpeg("-f lavfi -i testsrc2=s=32x32:r=10:d=0.5 secret.ts");
    folder.write("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nsecret.ts\n#EXT-X-ENDLIST\n");
    folder.write("list.mp4", "ffconcat version 1.0\nfile secret.ts\n");
    for (char const *name : {"list.m3u8", "list.mp4"}) {
        Read const read = readAll(file(name));
        EXPECT_TRUE(read.frames.empty());
        expectParts(read.failure, {name});
    }
}

} // namespace
} // namespace zun::test
