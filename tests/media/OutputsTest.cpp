// What WriteFrames writes, as ffprobe, ffmpeg and Pillow read it.
#include <cmath>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

#include <sys/stat.h>

#include "media/Host.h"
#include "media/HostNodes.h"
#include "media/Source.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::test {
namespace {

using Rgb = Mat<Vec3b, 2>;
using Grey = Mat<unsigned char, 2>;
using media::FrameSource;
using media::SourceInfo;

/// What a command prints, without the end of its last line.
std::string shell(std::string const &command) {
    std::unique_ptr<FILE, int (*)(FILE *)> const pipe(::popen((command + " 2>&1").c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> part;
    while (std::size_t const count = std::fread(part.data(), 1, part.size(), pipe.get()))
        text.append(part.data(), count);
    while (text.ends_with('\n')) text.pop_back();
    return text;
}

/// Entries of ffprobe, a line each.
std::vector<std::string> probe(std::string const &file, std::string const &entries, std::string const &more = "") {
    std::istringstream text(shell("ffprobe -v error -of csv=p=0 " + more + " -show_entries " + entries + " " + file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        if (!line.empty()) lines.push_back(line);
    return lines;
}

std::vector<double> frameTimes(std::string const &file) {
    std::vector<double> times;
    for (std::string const &line : probe(file, "frame=best_effort_timestamp_time", "-select_streams v"))
        times.push_back(std::strtod(line.c_str(), nullptr));
    return times;
}

SourceInfo movingInfo(media::Rational rate, media::Rational timeBase) {
    SourceInfo info;
    info.path = "clip";
    info.files = {"clip"};
    info.moving = true;
    info.rate = rate;
    info.timeBase = timeBase;
    return info;
}

struct Outputs : testing::Test {
    Outputs() { media::registerNodes(); }

    Options file(std::string const &name, Options more = {}) const {
        more["path"] = Option(folder / name);
        return more;
    }

    static NodeConfig writer(Options const &options, bool sourced) {
        std::map<std::string, std::string> inputs{{"frames", "frames"}};
        if (sourced) inputs["source"] = "source";
        return NodeConfig("WriteFrames", options, inputs, {});
    }

    static void write(std::vector<std::shared_ptr<Variant>> const &frames, Options const &options) {
        OneNode node(writer(options, false));
        for (Tick tick = 0; tick < frames.size(); tick++) node.run({{"frames", frames[tick]}}, tick);
        node.node->flush(frames.size());
    }

    /// A frame for each of the sources.
    void write(std::vector<FrameSource> const &sources, Options const &options, std::uint32_t rows = 32,
               std::uint32_t columns = 32) {
        OneNode node(writer(options, true));
        for (Tick tick = 0; tick < sources.size(); tick++)
            node.run(
                {{"frames", valueOf(randomFrame<Vec3b>(rows, columns, random))}, {"source", valueOf(sources[tick])}},
                tick);
        node.node->flush(sources.size());
    }

    static std::vector<FrameSource> at(SourceInfo const &info, std::vector<std::int64_t> const &times) {
        auto const shared = std::make_shared<SourceInfo const>(info);
        std::vector<FrameSource> sources;
        for (std::int64_t const time : times) sources.push_back({shared, info.files[0], sources.size(), time, 0});
        return sources;
    }

    /// What the node tells ahead of the run.
    static Forecast forecast(Options const &options, SourceInfo const &info) {
        NodeRegistry::Entry const &entry = *NodeRegistry::find("WriteFrames");
        std::unique_ptr<PipelineNode> const node(entry.factory({}, writer(options, true)));
        FrameSource source;
        source.info = std::make_shared<SourceInfo const>(info);
        return entry.facts.forecast(*node, valueOf(source).get());
    }

    /// A clip of 2 seconds at 10 frames a second, with sound by an encoder, and what its reader tells of it.
    SourceInfo clip(std::string const &name, std::string const &encoder, std::string const &codec) const {
        shell("ffmpeg -y -f lavfi -i testsrc2=s=64x48:r=10:d=2 -f lavfi -i sine=440:r=48000:d=2 -c:v libx264 -bf 2 "
              "-c:a " +
              encoder + " " + (folder / name));
        SourceInfo info = movingInfo({10, 1}, {1, 10'240});
        info.path = folder / name;
        info.files = {folder / name};
        info.sound = codec;
        return info;
    }

    std::vector<FrameSource> framesOf(SourceInfo const &info, std::int64_t first, std::int64_t last) const {
        std::vector<std::int64_t> times;
        for (std::int64_t frame = first; frame < last; frame++) times.push_back(frame * 1024);
        std::vector<FrameSource> sources = at(info, times);
        std::int64_t const start = std::llround(frameTimes(info.files[0]).at(0) * 10'240);
        for (FrameSource &source : sources) source.start = start;
        return sources;
    }

    std::mt19937 random{7};
    TemporaryFolder const folder;
};

TEST_F(Outputs, KeepTheRateOfTheirSource) {
    constexpr int count = 9;
    for (char const *name : {"v.mp4", "v.mov", "v.mkv", "v.webm", "v.avi", "v.nut", "v.ts", "v.y4m"})
        for (auto const &[rate, base] : {std::pair<media::Rational, media::Rational>{{30, 1}, {1, 15'360}},
                                         {{30'000, 1001}, {1, 1000}},
                                         {{24'000, 1001}, {1001, 24'000}},
                                         {{25, 2}, {1, 90'000}}}) {
            std::vector<std::int64_t> times;
            for (int frame = 0; frame < count; frame++)
                times.push_back(std::llround((frame + 3) / rate.value() / base.value()));
            write(at(movingInfo(rate, base), times), file(name, {{"preset", "ultrafast"}}));
            std::string const text = std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator);
            EXPECT_EQ(probe(folder / name, "stream=r_frame_rate").at(0), text) << name;
            std::vector<double> const shown = frameTimes(folder / name);
            ASSERT_EQ(shown.size(), std::size_t(count)) << name << " " << text;
            for (std::size_t frame = 0; frame < count; frame++)
                EXPECT_NEAR(shown[frame] - shown[0], double(frame) / rate.value(), 0.001) << name << " " << text;
            if (std::string(name).ends_with("ts")) continue;
            EXPECT_EQ(shown[0], 0) << name;
            if (std::string(name).ends_with("nut")) continue; // it holds no durations
            EXPECT_NEAR(std::stod(probe(folder / name, "format=duration").at(0)), count / rate.value(), 0.0015) << name;
            if (std::string(name).ends_with("mp4")) {
                EXPECT_EQ(probe(folder / name, "stream=avg_frame_rate,nb_frames").at(0), text + ",9");
            }
        }
}

TEST_F(Outputs, KeepUnevenTimesOrSayWhyNot) {
    SourceInfo info = movingInfo({10, 1}, {1, 1000});
    info.variableRate = true;
    std::vector<FrameSource> uneven = at(info, {500, 540, 620, 640, 900});
    uneven.back().duration = 300;
    for (char const *name : {"v.mp4", "v.mov", "v.mkv", "v.webm", "v.nut", "v.gif"}) {
        write(uneven, file(name));
        std::vector<double> const shown = frameTimes(folder / name);
        ASSERT_EQ(shown.size(), uneven.size()) << name;
        for (std::size_t frame = 0; frame < shown.size(); frame++)
            EXPECT_NEAR(shown[frame], uneven[frame].seconds() - 0.5, 1e-6) << name << ", frame " << frame;
        if (std::string(name).starts_with("v.m")) {
            EXPECT_NEAR(std::stod(probe(folder / name, "format=duration").at(0)), 0.7, 1e-3) << name;
        }
    }
    for (char const *name : {"v.avi", "v.y4m"}) {
        expectParts(messageOf([&] { write(uneven, file(name)); }),
                    {name, "frame 1 of 'clip' comes at 0.040 s", "at 0.100 s", ".mkv", "times: constant"});
        expectParts(forecast(file(name), info).warnings.at(0), {"isn't evenly spaced", "'clip'", "times: constant"});
        write(uneven, file(name, {{"times", "constant"}}));
        EXPECT_EQ(probe(folder / name, "stream=r_frame_rate").at(0), "10/1");
    }
}

TEST_F(Outputs, GoOnWhereTheTimesOfTheirSourceDoNot) {
    std::vector<FrameSource> const again = at(movingInfo({10, 1}, {1, 1000}), {200, 300, 400, 200, 300, 300});
    write(again, file("v.mp4"));
    std::vector<double> const shown = frameTimes(folder / "v.mp4");
    ASSERT_EQ(shown.size(), again.size());
    for (std::size_t frame = 0; frame < shown.size(); frame++) EXPECT_NEAR(shown[frame], double(frame) / 10, 1e-6);
}

TEST_F(Outputs, TakeTheRateThatIsAskedFor) {
    std::vector<FrameSource> const source = at(movingInfo({10, 1}, {1, 1000}), {0, 100, 200});
    for (auto const &[fps, rate] :
         {std::pair(29.97, "30000/1001"), {23.976, "24000/1001"}, {12.5, "25/2"}, {50.0, "50/1"}}) {
        write(source, file("v.mkv", {{"fps", fps}}));
        EXPECT_EQ(probe(folder / "v.mkv", "stream=r_frame_rate").at(0), rate);
    }
    write({valueOf(Rgb({16, 16}, {}))}, file("v.mp4"));
    EXPECT_EQ(probe(folder / "v.mp4", "stream=r_frame_rate,codec_name,pix_fmt").at(0), "h264,yuv420p,25/1");
}

/// Each packet of the sound: its time, and what it holds.
std::vector<std::pair<double, std::string>> soundOf(std::string const &file) {
    std::vector<std::pair<double, std::string>> packets;
    for (std::string const &line :
         probe(file, "packet=pts_time,data_hash", "-of default -select_streams a -show_data_hash md5")) {
        if (line.starts_with("pts_time=")) packets.emplace_back(std::stod(line.substr(line.find('=') + 1)), "");
        if (line.starts_with("data_hash=")) packets.back().second = line;
    }
    return packets;
}

TEST_F(Outputs, CopyTheSoundOfTheirFrames) {
    for (auto const &[name, encoder, codec, target] : {std::tuple("c.mp4", "aac", "aac", "v.mp4"),
                                                       {"c.mp4", "aac", "aac", "v.mkv"},
                                                       {"c.mkv", "libmp3lame", "mp3", "v.ts"},
                                                       {"c.mkv", "libopus", "opus", "v.webm"},
                                                       {"c.mov", "pcm_s16le", "pcm_s16le", "v.avi"},
                                                       {"c.mkv", "libmp3lame", "mp3", "v.mp4"}})
        for (auto const &[first, last] : {std::pair(0, 20), {5, 12}}) {
            SourceInfo info = clip(name, encoder, codec);
            std::string const out = folder / target, what = std::string(codec) + " to " + target;
            write(framesOf(info, first, last), file(target, {{"preset", "ultrafast"}}), 48, 64);
            auto const source = soundOf(folder / name), copied = soundOf(out);
            ASSERT_GT(copied.size(), 3u) << what;
            double const shift = frameTimes(out).at(0) - frameTimes(folder / name).at(std::size_t(first));
            std::size_t at = 1; // of the first, the samples before the video may be cut off
            while (at < source.size() && source[at].second != copied[1].second) at++;
            ASSERT_LE(at - 1 + copied.size(), source.size()) << what;
            for (std::size_t packet = 1; packet < copied.size(); packet++) {
                auto const &[time, hash] = source[at - 1 + packet];
                ASSERT_EQ(copied[packet].second, hash) << what << ", packet " << packet;
                ASSERT_NEAR(copied[packet].first, time + shift, 0.0021) << what;
            }
            double const longest = 0.06, begin = frameTimes(folder / name).at(0);
            EXPECT_LT(source[at - 1].first, begin + first * 0.1 + longest) << what;
            double const end = begin + last * 0.1, lastPacket = source[at + copied.size() - 2].first;
            EXPECT_TRUE(lastPacket < end && lastPacket > std::min(end, 2.0) - 2 * longest) << what << " " << lastPacket;
            expectParts(forecast(file(target), info).notes.at(0), {"takes frame rate 10 and times from '" + info.path +
                                                                   "', and copies its sound (" + codec + ")"});
        }
}

TEST_F(Outputs, SayWhatSoundTheyLeaveOut) {
    SourceInfo const info = clip("c.mov", "pcm_s16le", "pcm_s16le");
    SourceInfo list = info, stream = info;
    list.files.push_back(info.files[0]);
    stream.files = {"-"};
    for (auto const &[name, source, options, why] :
         {std::tuple("v.mp4", info, Options{}, "mp4 can't hold: write .mov, .mkv, .avi"),
          {"v.gif", info, Options{}, "gif can't hold"},
          {"v.mov", info, Options{{"fps", 50}}, "other times: leave out the options fps and times"},
          {"v.mov", list, Options{}, "several files"},
          {"v.mov", stream, Options{}, "second time"}})
        expectParts(forecast(file(name, options), source).warnings.at(0), {"leaves out the sound (pcm_s16le)", why});
    EXPECT_TRUE(forecast(file("v.mp4", {{"audio", "none"}}), info).warnings.empty());
    write(framesOf(info, 0, 3), file("v.mov", {{"audio", "none"}}));
    EXPECT_TRUE(soundOf(folder / "v.mov").empty());
}

TEST_F(Outputs, KeepTheVideoWhereTheSoundIsDamaged) {
    SourceInfo const info = clip("c.mp4", "aac", "aac");
    std::string const bytes = folder.read("c.mp4");
    std::vector<std::string> warnings;
    media::setWarningSink([&](std::string const &text) { warnings.push_back(text); });
    folder.write("c.mp4", bytes.substr(0, 200));
    write(framesOf(info, 0, 5), file("v.mp4"));
    media::setWarningSink({});
    EXPECT_EQ(frameTimes(folder / "v.mp4").size(), 5u);
    expectParts(warnings.at(0), {"v.mp4", "c.mp4' has sound that can't be read"});
}

TEST_F(Outputs, StateTheirColoursAndPixelAspect) {
    SourceInfo info = movingInfo({10, 1}, {1, 1000});
    info.pixelAspect = {3, 2};
    info.primaries = "bt709";
    info.transfer = "bt709";
    Vec3b const colour{200, 40, 90};
    for (auto const &[rows, matrix] : {std::pair(64u, "smpte170m"), {720u, "bt709"}})
        for (char const *name : {"v.mp4", "v.mkv", "v.webm"}) {
            OneNode node(writer(file(name, {{"preset", "ultrafast"}}), true));
            node.run({{"frames", valueOf(Rgb({rows, 64}, colour))}, {"source", valueOf(at(info, {0})[0])}});
            node.node->flush(1);
            EXPECT_EQ(probe(folder / name, "stream=color_space,color_primaries,color_transfer,color_range,"
                                           "sample_aspect_ratio")
                          .at(0),
                      "3:2,tv," + std::string(matrix) + ",bt709,bt709")
                << name;
            std::string const pixels = shell("ffmpeg -v error -i " + (folder / name) +
                                             " -vf scale=flags=accurate_rnd -pix_fmt rgb24 -frames:v 1 -f rawvideo -");
            for (std::size_t c = 0; c < 3; c++)
                EXPECT_NEAR(static_cast<unsigned char>(pixels.at(c)), colour[int(c)], 3) << name << ", channel " << c;
        }
    expectParts(forecast(file("%d.png"), info).warnings.at(0), {"pixel aspect 3/2 of 'clip'", "narrower"});
}

/// The numbers of a picture as Pillow reads it, row by row.
std::vector<double> pillow(std::string const &file, std::string &mode) {
    std::istringstream text(shell("/usr/bin/python3 -c \"import numpy, PIL.Image; i = PIL.Image.open('" + file +
                                  "'); print(i.mode, *numpy.asarray(i).ravel())\""));
    text >> mode;
    return {std::istream_iterator<double>(text), {}};
}

template <class T>
std::vector<double> numbersOf(Mat<T, 2> const &frame) {
    std::vector<double> numbers;
    for (T const &pixel : elements(frame))
        if constexpr (requires { pixel[0]; })
            numbers.insert(numbers.end(), std::begin(pixel.elements), std::end(pixel.elements));
        else
            numbers.push_back(pixel);
    return numbers;
}

TEST_F(Outputs, OfPicturesAreExactInTheFormatsWithoutLoss) {
    auto const expectExact = [&](auto const &frame, std::string const &name, std::string const &expectedMode) {
        std::string mode;
        write({valueOf(frame)}, file(name, {{"lossless", true}}));
        EXPECT_EQ(pillow(folder / name, mode), numbersOf(frame)) << name;
        EXPECT_EQ(mode, expectedMode) << name;
    };
    for (auto const &[rows, columns] : {std::pair(1u, 1u), {37u, 53u}}) {
        for (char const *name : {"p.png", "p.tif", "p.bmp", "p.ppm", "p.webp"})
            expectExact(randomFrame<Vec3b>(rows, columns, random), name, "RGB");
        for (char const *name : {"g.png", "g.TIFF", "g.bmp", "g.pgm"})
            expectExact(randomFrame<unsigned char>(rows, columns, random), name, "L");
        for (char const *name : {"a.png", "a.tiff"})
            expectExact(randomFrame<Vec4b>(rows, columns, random), name, "RGBA");
    }
    Mat<float, 2> floats({3, 50});
    for (std::uint32_t i = 0; i < floats.count; i++) floats.first()[i] = float(i) * 0.37f - 20;
    std::string mode;
    write({valueOf(floats)}, file("f.tif"));
    EXPECT_EQ(shell("/usr/bin/python3 -c \"import numpy, PIL.Image; a = numpy.asarray(PIL.Image.open('" +
                    (folder / "f.tif") +
                    "')); print(a.dtype, (a.ravel() == numpy.arange(150, dtype='f4') * "
                    "numpy.float32(0.37) - 20).all())\""),
              "float32 True");
    expectParts(messageOf([&] { write({valueOf(floats)}, file("f.png")); }), {"floats", ".tiff", "scale"});
    expectParts(messageOf([&] { write({valueOf(randomFrame<Vec4b>(4, 4, random))}, file("a.jpg")); }),
                {"a.jpg", "alpha", ".png"});
    expectParts(messageOf([&] { write({valueOf(randomFrame<Vec3b>(4, 4, random))}, file("a.pgm")); }),
                {"a.pgm", ".ppm"});
}

TEST_F(Outputs, OfJpegGetLargerAndCloserWithQuality) {
    Rgb const frame = randomFrame<Vec3b>(64, 64, random);
    double lastError = 1e9;
    std::size_t lastSize = 0;
    for (int const quality : {20, 60, 89, 95, 98, 100}) {
        write({valueOf(frame)}, file("p.jpg", {{"quality", quality}}));
        std::string mode;
        std::vector<double> const back = pillow(folder / "p.jpg", mode), exact = numbersOf(frame);
        double error = 0;
        for (std::size_t i = 0; i < exact.size(); i++) error += std::abs(back.at(i) - exact[i]);
        EXPECT_LT(error, lastError) << quality;
        EXPECT_GT(folder.read("p.jpg").size(), lastSize) << quality;
        lastError = error;
        lastSize = folder.read("p.jpg").size();
        std::string const chroma = quality < 90 ? "2x2,1x1,1x1" : "1x1,1x1,1x1";
        EXPECT_EQ(shell("identify -format '%[jpeg:sampling-factor]' " + (folder / "p.jpg")), chroma);
    }
    EXPECT_LT(lastError / (64 * 64 * 3), 1.0);
}

TEST_F(Outputs, AreNamedAfterTheirSourceAndNeverOverwriteOneAnother) {
    SourceInfo info;
    info.files = {"in/a/x.jpg", "in/b/y.jpg", "in/b/x.jpg"};
    std::vector<FrameSource> sources;
    for (std::string const &name : info.files)
        sources.push_back({std::make_shared<SourceInfo const>(info), name, sources.size(), 0, 0});
    write(sources, file("{parent}/{stem}-{number:02}.png"));
    for (char const *name : {"a/x-00.png", "b/y-01.png", "b/x-02.png"})
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;
    expectParts(messageOf([&] { write(sources, file("{stem}.png")); }),
                {"x.png' was written already, from 'in/a/x.jpg'"});
    expectParts(forecast(file("{stem}.png"), info).problems.at(0), {"in/a/x.jpg", "in/b/x.jpg", "x.png"});
    expectParts(messageOf([&] { write(sources, file("no/{stem}.png")); }), {"no' for", "doesn't exist"});
    expectParts(messageOf([&] { write(sources, file("{tick}.mp4")); }), {"one file"});
    OneNode const first(writer(file("taken.mp4"), false));
    expectParts(messageOf([&] { OneNode(writer(file("taken.mp4"), false)); }), {"taken.mp4' is being written"});
}

TEST_F(Outputs, GoToPipes) {
    std::signal(SIGPIPE, SIG_IGN); // as hosts do
    std::string const pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::vector<FrameSource> const source = at(movingInfo({10, 1}, {1, 1000}), {0, 100, 200});
    expectParts(messageOf([&] { write(source, file("pipe")); }), {"pipe' doesn't tell the format", "container", "nut"});
    for (auto const &[container, input, pixels] :
         {std::tuple("nut", "-f nut", "rgb24"),
          {"y4m", "-f yuv4mpegpipe", "yuv420p"},
          {"mp4", "", "yuv420p"},
          {"mkv", "", "yuv420p"},
          {"image2pipe", "-f image2pipe", "rgb24"},
          {"rawvideo", "-f rawvideo -pixel_format rgb24 -video_size 32x32", "rgb24"}}) {
        std::string read;
        std::thread reader([&, from = std::string(input)] {
            read = shell("ffprobe -v error -of csv=p=0 -count_frames -show_entries stream=pix_fmt,nb_read_frames " +
                         from + " -i " + pipe);
        });
        EXPECT_EQ(messageOf([&, to = container] { write(source, file("pipe", {{"container", to}})); }), "no failure");
        reader.join();
        EXPECT_EQ(read, std::string(pixels) + ",3") << container;
    }
    std::thread reader([&] { std::ifstream(pipe).get(); });
    std::string const failure = messageOf([&] {
        write(std::vector(100, source[0]), file("pipe", {{"container", "nut"}}), 200, 200);
    });
    reader.join();
    expectParts(failure, {"pipe' can't be written", "the program that reads from it has ended"});
}

TEST_F(Outputs, AreEncodedAsAsked) {
    for (auto const &[name, options, probed] :
         {std::tuple("v.mkv", Options{{"codec", "h265"}}, "hevc,yuv420p"),
          {"v.mp4", Options{{"codec", "av1"}}, "av1,yuv420p"},
          {"v.mkv", Options{{"codec", "vp9"}, {"lossless", true}}, "vp9,gbrp"},
          {"v.mov", Options{{"codec", "prores"}}, "prores,yuv422p10le"},
          {"v.avi", Options{{"codec", "mjpeg"}}, "mjpeg,yuvj444p"},
          {"v.avi", Options{{"codec", "mjpeg"}, {"quality", 70}}, "mjpeg,yuvj420p"},
          {"v.mov", Options{{"codec", "png"}}, "png,rgb24"},
          {"v.mkv", Options{{"codec", "ffv1"}}, "ffv1,bgr0"},
          {"v.mp4", Options{{"pixelFormat", "yuv444p"}}, "h264,yuv444p"},
          {"v.mp4", Options{{"bitRate", 100}}, "h264,yuv420p"}}) {
        write({valueOf(randomFrame<Vec3b>(64, 64, random))}, file(name, options));
        EXPECT_EQ(probe(folder / name, "stream=codec_name,pix_fmt").at(0), probed) << name;
    }
    write({valueOf(randomFrame<Vec3b>(33, 65, random))}, file("odd.mp4"));
    EXPECT_EQ(probe(folder / "odd.mp4", "stream=width,height,pix_fmt").at(0), "65,33,yuv444p");
    for (auto const &[name, options, parts] :
         {std::tuple("v.mp4", Options{{"codec", "h263"}}, std::vector<std::string>{"codec", "'h263'", "h264, h265"}),
          {"v.webm", Options{{"codec", "h264"}}, {"webm doesn't take codec h264", "vp9 or av1"}},
          {"v.mp4", Options{{"preset", "quick"}}, {"preset", "ultrafast"}},
          {"v.mp4", Options{{"pixelFormat", "rgb565"}}, {"pixelFormat", "yuv420p"}},
          {"v.mov", Options{{"codec", "prores"}, {"lossless", true}}, {"prores", "without loss"}},
          {"v.mp4", Options{{"times", "real"}}, {"times", "source or constant"}},
          {"v.xyz", Options{{"container", "vob"}}, {"container", "mkv"}},
          {"p.png", Options{{"pngLevel", 13}}, {"pngLevel", "0 to 12"}}}) {
        std::string const failure = messageOf([&, more = options] { OneNode(writer(file(name, more), false)); });
        expectParts(failure, parts);
        EXPECT_EQ(forecast(file(name, options), movingInfo({10, 1}, {1, 1000})).problems.at(0), failure);
    }
}

TEST_F(Outputs, AreTheSameWithAnyNumberOfThreads) {
    std::string first;
    for (int const threads : {1, 2, 5}) {
        random.seed(3);
        write({valueOf(randomFrame<Vec3b>(180, 322, random))}, file("v.y4m", {{"threads", threads}}));
        if (threads == 1) first = folder.read("v.y4m");
        EXPECT_TRUE(folder.read("v.y4m") == first) << threads;
    }
}

} // namespace
} // namespace zun::test
