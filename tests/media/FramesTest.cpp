#include <gtest/gtest.h>

#include <cmath>

#include <sys/mount.h>
#include <unistd.h>

#include "containers/Mat.h"
#include "engine/Facts.h"
#include "media/FilePattern.h"
#include "media/Media.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::test {
namespace {

using Rgb = Mat<Vec3b, 2>;
using Grey = Mat<unsigned char, 2>;
using Options = std::map<std::string, OptionNode>;
using Frames = std::vector<std::shared_ptr<Variant>>;

OptionNode number(int value) { return OptionNode::ofInt(value); }

struct FrameFiles : testing::Test {
    FrameFiles() { media::registerNodes(); }

    /// The options of a node for a file in the folder.
    Options file(std::string const &name, Options more = {}) const {
        more["path"] = OptionNode::ofString(folder / name);
        return more;
    }

    static void write(Frames const &frames, Options const &options) {
        OneNode writer("WriteFrames", options);
        for (Tick tick = 0; tick < frames.size(); tick++) writer.run({{"frames", frames[tick]}}, tick);
        writer.node->flush(frames.size());
    }

    template <class T>
    static Mat<T, 2> read(Options const &options, Tick tick = 0) {
        OneNode reader("ReadFrames", options);
        char const *const port = std::is_same_v<T, Vec3b> ? "out.rgb" : "out.grey";
        return held<Mat<T, 2>>(reader.run({}, tick).at(port));
    }

    /// As many random frames as are asked for.
    template <class T>
    Frames some(int count, std::uint32_t rows, std::uint32_t columns) {
        Frames frames;
        while (count-- > 0) frames.push_back(valueOf(randomFrame<T>(rows, columns, random)));
        return frames;
    }

    static void expectError(auto action, std::vector<std::string> const &parts) {
        expectParts(messageOf(action), parts);
    }

    std::mt19937 random{7};
    TemporaryFolder const folder;
};

TEST_F(FrameFiles, ComeBackBitByBitFromPng) {
    for (auto const &[rows, columns] : {std::pair{1u, 1u}, {3u, 5u}, {64u, 33u}, {7u, 129u}}) {
        Rgb const rgb = randomFrame<Vec3b>(rows, columns, random);
        Grey const grey = randomFrame<unsigned char>(rows, columns, random);
        Mat<Vec4b, 2> const rgba = randomFrame<Vec4b>(rows, columns, random);
        write({valueOf(rgb)}, file("rgb.png"));
        write({valueOf(grey)}, file("grey.png"));
        write({valueOf(rgba)}, file("rgba.png"));

        EXPECT_EQ(elements(read<Vec3b>(file("rgb.png"))), elements(rgb));
        EXPECT_EQ(elements(read<unsigned char>(file("grey.png"))), elements(grey));
        Rgb const opaque = read<Vec3b>(file("rgba.png")), replicated = read<Vec3b>(file("grey.png"));
        Grey const luma = read<unsigned char>(file("rgb.png"));
        for (std::uint32_t i = 0; i < rgb.count; i++) {
            Vec3b const &p = rgb.first()[i];
            ASSERT_EQ(luma.first()[i], (p[0] * 19595 + p[1] * 38470 + p[2] * 7471 + 32768) / 65536);
            for (int c = 0; c < 3; c++) {
                ASSERT_EQ(opaque.first()[i][c], rgba.first()[i][c]);
                ASSERT_EQ(replicated.first()[i][c], grey.first()[i]);
            }
        }
    }
}

TEST_F(FrameFiles, ComeBackBitByBitFromLosslessVideos) {
    Frames const rgb = some<Vec3b>(7, 50, 67), grey = some<unsigned char>(7, 50, 68);
    for (char const *name : {"video.mkv", "video.avi", "video.mp4", "video.mov"}) {
        write(rgb, file(name));
        OneNode reader("ReadFrames", file(name, {{"repeat", number(2)}}));
        EXPECT_EQ(reader.node->getRunUntil(endless), 14u) << name;
        // In order, then a jump ahead, then back.
        for (Tick tick : {0u, 1u, 2u, 5u, 6u, 7u, 8u, 3u})
            EXPECT_EQ(elements(held<Rgb>(reader.run({}, tick).at("out.rgb"))), elements(held<Rgb>(rgb[tick % 7])))
                << name << ", tick " << tick;
        write(grey, file(name));
        EXPECT_EQ(elements(read<unsigned char>(file(name, {{"first", number(2)}}), 1)), elements(held<Grey>(grey[3])))
            << name;
    }
}

TEST_F(FrameFiles, StayCloseInFormatsWithLoss) {
    Rgb smooth({64, 64});
    for (std::uint32_t i = 0; i < smooth.count; i++) {
        auto const shade = [](std::uint32_t value) { return static_cast<unsigned char>(value * 3); };
        smooth.first()[i] = {shade(i / 64), shade(i % 64), 100};
    }
    for (char const *name : {"picture.jpg", "video.mp4", "video.mkv"}) {
        write({valueOf(smooth)}, file(name, {{"lossless", OptionNode::ofBool(false)}}));
        Rgb const back = read<Vec3b>(file(name));
        for (std::uint32_t i = 0; i < smooth.count * 3; i++)
            ASSERT_NEAR(back.first()[i / 3][i % 3], smooth.first()[i / 3][i % 3], 12) << name << " at " << i;
    }
}

TEST_F(FrameFiles, OfASequenceAreCountedToTheFirstGap) {
    Frames const frames = some<unsigned char>(4, 2, 2);
    write(frames, file("f-%03d.png"));
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"f-000.png", "f-001.png", "f-002.png", "f-003.png"}));
    OneNode reader("ReadFrames", file("f-%03d.png", {{"first", number(1)}}));
    EXPECT_EQ(reader.node->getRunUntil(endless), 3u);
    EXPECT_TRUE(reader.node->canSelfParallelise());
    EXPECT_EQ(elements(held<Grey>(reader.run({}, 2).at("out.grey"))), elements(held<Grey>(frames[3])));
    std::filesystem::remove(folder / "f-002.png");
    expectError(
        [&] {
            OneNode("ReadFrames", file("f-%03d.png", {{"count", number(3)}}));
        },
        {"has 2 frames", "asks for 3"});
}

TEST_F(FrameFiles, OfFloatsNeedAScale) {
    Mat<float, 2> frame({1, 6});
    std::copy_n(std::vector{0.0f, 0.5f, 1.0f, -3.0f, 7.0f, std::nanf("")}.begin(), 6, frame.first());
    expectError([&] { write({valueOf(frame)}, file("float.png")); }, {"floats", "scale"});
    Options const scaled = file("float.png", {{"scale", OptionNode::ofFloat(255)}});
    using Bytes = std::vector<unsigned char>;
    write({valueOf(frame)}, scaled);
    EXPECT_EQ(elements(read<unsigned char>(file("float.png"))), (Bytes{0, 128, 255, 0, 255, 0}));
    write({valueOf(Grey({1, 2}, 1))}, scaled);
    EXPECT_EQ(elements(read<unsigned char>(file("float.png"))), (Bytes{255, 255}));
}

TEST_F(FrameFiles, ThatAreNoPicturesGiveOneClearError) {
    folder.write("text.png", "this is not a picture\n");
    folder.write("empty.png", "");
    for (auto const &[name, reason] : {std::pair("missing.png", "No such file"),
                                       {"missing.mp4", "No such file"},
                                       {"text.png", "no image or video"},
                                       {"empty.png", "no image or video"},
                                       {"g-%03d.png", "g-000.png' is not there"},
                                       {"", "directory"}})
        expectError([&, path = name] { read<Vec3b>(file(path)); }, {folder / std::string(name).substr(0, 2), reason});
    auto const forecast = media::facts().at("ReadFrames").forecast;
    EXPECT_EQ(forecast(NodeConfig("ReadFrames", file("text.png"))).errors.size(), 1u);
    std::filesystem::copy(ZUN_PHOTOS "/coffee.png", folder.path);
    EXPECT_EQ(forecast(NodeConfig("ReadFrames", file("coffee.png"))).bytes.at("rgb"), 600u * 400 * 3);
}

TEST_F(FrameFiles, CutShortAreRefusedWhereverTheyEnd) {
    for (std::string const name : {"whole.png", "whole.jpg"}) {
        write(some<Vec3b>(1, 40, 40), file(name));
        std::string const bytes = folder.read(name);
        for (std::size_t length = 0; length < bytes.size();
             length += 1 + std::min(length / 7, bytes.size() - 2 - length)) {
            folder.write("cut" + name, bytes.substr(0, length));
            expectError([&] { read<Vec3b>(file("cut" + name)); }, {folder / "cut" + name});
        }
    }
}

TEST_F(FrameFiles, OfAVideoThatEndsEarlyFailAtTheFirstMissingFrame) {
    write(some<Vec3b>(20, 48, 48), file("whole.avi"));
    std::string const bytes = folder.read("whole.avi");
    folder.write("cut.avi", bytes.substr(0, bytes.size() / 2));
    OneNode reader("ReadFrames", file("cut.avi"));
    Tick const promised = reader.node->getRunUntil(endless);
    Tick tick = 0;
    std::string error = "no failure";
    while (tick < promised && (error = messageOf([&] { reader.run({}, tick); })) == "no failure") tick++;
    EXPECT_GT(tick, 5u);
    EXPECT_LT(tick, 20u);
    if (tick < promised) expectParts(error, {"cut.avi"});
}

TEST_F(FrameFiles, ThatCantBeWrittenLeaveNothingBehind) {
    Frames const two = some<Vec3b>(2, 8, 8);
    struct {
        Frames frames;
        char const *name;
        Options options;
        std::vector<std::string> message;
    } const cases[] = {
        {two, "one.png", {}, {"one.png", "-%05d.png"}},
        {two, "video.gif", {}, {"video.gif", ".png"}},
        {two, "no/such/folder.png", {}, {"no/such", "not there"}},
        {two, "%x.png", {}, {"%x.png", "%05d"}},
        {two, "%d-%d.png", {}, {"two numbers"}},
        {two, "v.mkv", {{"fps", number(0)}}, {"fps"}},
        {two, "p.jpg", {{"quality", number(0)}}, {"quality"}},
        {two, "v.avi", {{"lossless", OptionNode::ofBool(false)}}, {"v.avi", ".mp4"}},
        {{valueOf(Rgb())}, "none.png", {}, {"0 x 0"}},
        {{valueOf(std::string("x"))}, "s.png", {}, {"std::string"}},
        {{two[0], valueOf(Rgb({4, 8}, {}))}, "two.mkv", {}, {"8 x 4", "8 x 8"}},
    };
    for (auto const &[frames, name, options, message] : cases) {
        Options const all = file(name, options);
        expectError([&, &written = frames] { write(written, all); }, message);
    }
    EXPECT_EQ(folder.files(), std::vector<std::string>{"one.png"});
}

TEST_F(FrameFiles, OfAVideoAreUnderTheFinalNameOnlyWhenItIsFinished) {
    OneNode writer("WriteFrames", file("v.mkv"));
    writer.run({{"frames", some<Vec3b>(1, 8, 8)[0]}}, 0);
    EXPECT_EQ(folder.files(), std::vector<std::string>{".v.mkv.part"});
    writer.node->flush(1);
    EXPECT_EQ(folder.files(), std::vector<std::string>{"v.mkv"});
}

TEST_F(FrameFiles, OnAFullDiskGiveTheReasonAndKeepWhatIsComplete) {
    if (::mount("zun-test", folder.path.c_str(), "tmpfs", 0, "size=200k") != 0) GTEST_SKIP() << "can't mount a tmpfs";
    Frames const frames(20, some<Vec3b>(1, 128, 128)[0]); // 49 KB each, and they don't compress
    expectError([&] { write(frames, file("%d.png")); }, {"No space left on device"});
    std::vector<std::string> const complete = folder.files();
    EXPECT_GT(complete.size(), 1u);
    for (std::string const &name : complete)
        EXPECT_EQ(elements(read<Vec3b>(file(name))), elements(held<Rgb>(frames[0]))) << name;

    std::filesystem::remove(folder / "0.png");
    OneNode video("WriteFrames", file("v.mkv"));
    auto const runAll = [&] {
        for (Tick tick = 0; tick < 20; tick++) video.run({{"frames", frames[tick]}}, tick);
    };
    expectError(runAll, {"No space left on device"});
    expectError([&] { video.node->flush(1); }, {"No space left", ".v.mkv.part"});
    EXPECT_TRUE(std::filesystem::exists(folder / ".v.mkv.part"));
    ::umount(folder.path.c_str());
}

TEST(FilePatterns, FillInTheNumber) {
    struct {
        char const *pattern;
        std::uint64_t number;
        char const *file;
    } const cases[] = {{"out-%05d.png", 7, "out-00007.png"},
                       {"%d", 12, "12"},
                       {"a%%b%02d", 345, "a%b345"},
                       {"plain.png", 9, "plain.png"}};
    for (auto const &[pattern, number, file] : cases) EXPECT_EQ(media::FilePattern(pattern).file(number), file);
    for (char const *wrong : {"%s", "%", "%5d", "%-5d", "%05", "%n", "%d%d", "%0000d"})
        EXPECT_THROW(media::FilePattern{wrong}, Exception) << wrong;
}

} // namespace
} // namespace zun::test
