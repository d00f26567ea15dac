#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include <sys/mount.h>
#include <unistd.h>

#include "containers/Mat.h"
#include "engine/Facts.h"
#include "media/FilePattern.h"
#include "media/Media.h"
#include "support/Frames.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"

namespace zun::test {
namespace {

using Rgb = Mat<Vec3b, 2>;
using Grey = Mat<unsigned char, 2>;
using Options = std::map<std::string, OptionNode>;

OptionNode text(std::string const &value) { return OptionNode::ofString(value); }
OptionNode number(int value) { return OptionNode::ofInt(value); }

struct FrameFiles : testing::Test {
    FrameFiles() { media::registerNodes(); }

    std::mt19937 random{7};
    TemporaryFolder folder;

    static void write(std::vector<std::shared_ptr<Variant>> const &values, Options const &options) {
        OneNode writer("WriteFrames", options);
        for (Tick tick = 0; tick < values.size(); tick++) writer.run({{"frames", values[tick]}}, tick);
        writer.node->flush(values.size());
    }

    template <class T>
    static Mat<T, 2> read(Options const &options, Tick tick = 0) {
        OneNode reader("ReadFrames", options);
        char const *const port = std::is_same_v<T, Vec3b> ? "out.rgb" : "out.grey";
        return held<Mat<T, 2>>(reader.run({}, tick).at(port));
    }

    static std::string errorOf(auto action) {
        try {
            action();
        } catch (std::exception const &error) {
            return error.what();
        }
        return "";
    }

    static void expectError(auto action, std::initializer_list<char const *> parts) {
        std::string const error = errorOf(action);
        for (char const *part : parts) EXPECT_NE(error.find(part), std::string::npos) << part << " in: " << error;
    }
};

TEST_F(FrameFiles, ComeBackBitByBitFromPng) {
    for (auto const &[rows, columns] : {std::pair{1u, 1u}, {3u, 5u}, {64u, 33u}, {7u, 129u}}) {
        Rgb const rgb = randomFrame<Vec3b>(rows, columns, random);
        Grey const grey = randomFrame<unsigned char>(rows, columns, random);
        Mat<Vec4b, 2> const rgba = randomFrame<Vec4b>(rows, columns, random);
        write({valueOf(rgb)}, {{"path", text(folder / "rgb.png")}});
        write({valueOf(grey)}, {{"path", text(folder / "grey.png")}});
        write({valueOf(rgba)}, {{"path", text(folder / "rgba.png")}});

        EXPECT_EQ(elements(read<Vec3b>({{"path", text(folder / "rgb.png")}})), elements(rgb));
        EXPECT_EQ(elements(read<unsigned char>({{"path", text(folder / "grey.png")}})), elements(grey));
        Rgb const opaque = read<Vec3b>({{"path", text(folder / "rgba.png")}});
        Rgb const replicated = read<Vec3b>({{"path", text(folder / "grey.png")}});
        Grey const luma = read<unsigned char>({{"path", text(folder / "rgb.png")}});
        for (std::uint32_t i = 0; i < rgb.count; i++)
            for (int c = 0; c < 3; c++) {
                ASSERT_EQ(opaque.first()[i][c], rgba.first()[i][c]);
                ASSERT_EQ(replicated.first()[i][c], grey.first()[i]);
                Vec3b const &p = rgb.first()[i];
                ASSERT_EQ(luma.first()[i], (p[0] * 19595 + p[1] * 38470 + p[2] * 7471 + 32768) / 65536);
            }
    }
}

TEST_F(FrameFiles, ComeBackBitByBitFromLosslessVideos) {
    std::vector<std::shared_ptr<Variant>> rgb, grey;
    for (int i = 0; i < 7; i++) {
        rgb.push_back(valueOf(randomFrame<Vec3b>(50, 67, random)));
        grey.push_back(valueOf(randomFrame<unsigned char>(50, 68, random)));
    }
    for (char const *name : {"video.mkv", "video.avi", "video.mp4", "video.mov"}) {
        Options const options{{"path", text(folder / name)}};
        write(rgb, options);
        OneNode reader("ReadFrames", {{"path", text(folder / name)}, {"repeat", number(2)}});
        EXPECT_EQ(reader.node->getRunUntil(endless), 14u) << name;
        // In order, then a jump ahead, then back.
        for (Tick tick : {0u, 1u, 2u, 5u, 6u, 7u, 8u, 3u})
            EXPECT_EQ(elements(held<Rgb>(reader.run({}, tick).at("out.rgb"))), elements(held<Rgb>(rgb[tick % 7])))
                << name << ", tick " << tick;
        write(grey, options);
        EXPECT_EQ(elements(read<unsigned char>({{"path", text(folder / name)}, {"first", number(2)}}, 1)),
                  elements(held<Grey>(grey[3])))
            << name;
    }
}

TEST_F(FrameFiles, StayCloseInFormatsWithLoss) {
    Rgb smooth({64, 64});
    for (std::uint32_t i = 0; i < smooth.count; i++) {
        auto const shade = [](std::uint32_t value) { return static_cast<unsigned char>(value); };
        smooth.first()[i] = {shade(i / 64 * 3), shade(i % 64 * 3), shade(100)};
    }
    for (char const *name : {"picture.jpg", "video.mp4", "video.mkv"}) {
        write({valueOf(smooth)}, {{"path", text(folder / name)}, {"lossless", OptionNode::ofBool(false)}});
        Rgb const back = read<Vec3b>({{"path", text(folder / name)}});
        for (std::uint32_t i = 0; i < smooth.count; i++)
            for (int c = 0; c < 3; c++)
                ASSERT_NEAR(back.first()[i][c], smooth.first()[i][c], 12) << name << " at " << i;
    }
}

TEST_F(FrameFiles, OfASequenceAreCountedToTheFirstGap) {
    std::vector<std::shared_ptr<Variant>> frames;
    for (int i = 0; i < 4; i++) frames.push_back(valueOf(Grey({2, 2}, static_cast<unsigned char>(i))));
    write(frames, {{"path", text(folder / "f-%03d.png")}});
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"f-000.png", "f-001.png", "f-002.png", "f-003.png"}));
    OneNode reader("ReadFrames", {{"path", text(folder / "f-%03d.png")}, {"first", number(1)}});
    EXPECT_EQ(reader.node->getRunUntil(endless), 3u);
    EXPECT_TRUE(reader.node->canSelfParallelise());
    EXPECT_EQ(held<Grey>(reader.run({}, 2).at("out.grey")).first()[0], 3);
    std::filesystem::remove(folder / "f-002.png");
    expectError(
        [&] {
            OneNode("ReadFrames", {{"path", text(folder / "f-%03d.png")}, {"count", number(3)}});
        },
        {"has 2 frames", "asks for 3"});
    expectError([&] { OneNode("ReadFrames", {{"path", text(folder / "g-%03d.png")}}); }, {"g-000.png", "not there"});
}

TEST_F(FrameFiles, OfFloatsNeedAScale) {
    Mat<float, 2> frame({1, 6});
    float const values[] = {0.0f, 0.5f, 1.0f, -3.0f, 7.0f, std::nanf("")};
    std::copy(std::begin(values), std::end(values), frame.first());
    Options options{{"path", text(folder / "float.png")}};
    expectError([&] { write({valueOf(frame)}, options); }, {"floats", "scale"});
    options["scale"] = OptionNode::ofFloat(255);
    write({valueOf(frame)}, options);
    EXPECT_EQ(elements(read<unsigned char>({{"path", text(folder / "float.png")}})),
              (std::vector<unsigned char>{0, 128, 255, 0, 255, 0}));
    write({valueOf(Grey({1, 2}, 1))}, options);
    EXPECT_EQ(elements(read<unsigned char>({{"path", text(folder / "float.png")}})),
              (std::vector<unsigned char>{255, 255}));
}

TEST_F(FrameFiles, ThatAreNoPicturesGiveOneClearError) {
    writeBytes(folder / "text.png", "this is not a picture\n");
    writeBytes(folder / "empty.png", "");
    auto const reading = [&](char const *name) { return [&, name] { read<Vec3b>({{"path", text(folder / name)}}); }; };
    expectError(reading("missing.png"), {"missing.png", "No such file"});
    expectError(reading("missing.mp4"), {"missing.mp4", "No such file"});
    expectError(reading("text.png"), {"text.png", "no image or video"});
    expectError(reading("empty.png"), {"empty.png", "no image or video"});
    expectError([&] { read<Vec3b>({{"path", text(folder.path.string())}}); }, {"directory"});
    auto const forecast = media::facts().at("ReadFrames").forecast;
    EXPECT_EQ(forecast(NodeConfig("ReadFrames", {{"path", text(folder / "text.png")}})).errors.size(), 1u);
    EXPECT_EQ(forecast(NodeConfig("ReadFrames", {{"path", text(ZUN_PHOTOS "/coffee.png")}})).bytes.at("rgb"),
              600u * 400 * 3);
}

TEST_F(FrameFiles, CutShortAreRefusedWhereverTheyEnd) {
    Rgb const frame = randomFrame<Vec3b>(40, 40, random);
    for (char const *name : {"whole.png", "whole.jpg"}) {
        write({valueOf(frame)}, {{"path", text(folder / name)}});
        std::string const bytes = readBytes(folder / name);
        std::string const cut = folder / (std::string("cut") + name);
        for (std::size_t length = 0; length < bytes.size() - 1; length += 1 + length / 7) {
            writeBytes(cut, bytes.substr(0, length));
            expectError([&] { read<Vec3b>({{"path", text(cut)}}); }, {cut.c_str()});
        }
        writeBytes(cut, bytes.substr(0, bytes.size() - 1));
        expectError([&] { read<Vec3b>({{"path", text(cut)}}); }, {cut.c_str()});
    }
}

TEST_F(FrameFiles, OfAVideoThatEndsEarlyFailAtTheFirstMissingFrame) {
    std::vector<std::shared_ptr<Variant>> frames;
    for (int i = 0; i < 20; i++) frames.push_back(valueOf(randomFrame<Vec3b>(48, 48, random)));
    write(frames, {{"path", text(folder / "whole.avi")}});
    std::string const bytes = readBytes(folder / "whole.avi");
    writeBytes(folder / "cut.avi", bytes.substr(0, bytes.size() / 2));
    OneNode reader("ReadFrames", {{"path", text(folder / "cut.avi")}});
    Tick const promised = reader.node->getRunUntil(endless);
    Tick tick = 0;
    std::string error;
    while (tick < promised && error.empty()) {
        error = errorOf([&] { reader.run({}, tick); });
        if (error.empty()) tick++;
    }
    EXPECT_GT(tick, 5u);
    EXPECT_LT(tick, 20u);
    if (promised > tick) {
        EXPECT_NE(error.find("cut.avi"), std::string::npos) << error;
    }
}

TEST_F(FrameFiles, ThatCantBeWrittenLeaveNothingBehind) {
    auto const frame = valueOf(randomFrame<Vec3b>(8, 8, random));
    auto const writing = [&](std::string const &name, Options more = {}) {
        more["path"] = text(folder / name);
        return [this, more, frame] { write({frame, frame}, more); };
    };
    expectError(writing("one.png"), {"one.png", "-%05d.png"});
    expectError(writing("video.gif"), {"video.gif", ".png"});
    expectError(writing("no/such/folder.png"), {"no/such", "not there"});
    expectError(writing("%x.png"), {"%x.png", "%05d"});
    expectError(writing("%d-%d.png"), {"two numbers"});
    expectError(writing("v.mkv", {{"fps", number(0)}}), {"fps"});
    expectError(writing("p.jpg", {{"quality", number(0)}}), {"quality"});
    expectError(writing("v.avi", {{"lossless", OptionNode::ofBool(false)}}), {"v.avi", ".mp4"});
    expectError([&] { write({valueOf(Rgb())}, {{"path", text(folder / "none.png")}}); }, {"0 x 0"});
    expectError([&] { write({valueOf(std::string("x"))}, {{"path", text(folder / "s.png")}}); }, {"std::string"});
    expectError(
        [&] {
            write({frame, valueOf(Rgb({4, 8}, {}))}, {{"path", text(folder / "two.mkv")}});
        },
        {"8 x 4", "8 x 8"});
    EXPECT_EQ(folder.files(), std::vector<std::string>{"one.png"});
}

TEST_F(FrameFiles, OfAVideoAreUnderTheFinalNameOnlyWhenItIsFinished) {
    OneNode writer("WriteFrames", {{"path", text(folder / "v.mkv")}});
    writer.run({{"frames", valueOf(randomFrame<Vec3b>(8, 8, random))}}, 0);
    EXPECT_EQ(folder.files(), std::vector<std::string>{".v.mkv.part"});
    writer.node->flush(1);
    EXPECT_EQ(folder.files(), std::vector<std::string>{"v.mkv"});
}

TEST_F(FrameFiles, OnAFullDiskGiveTheReasonAndKeepWhatIsComplete) {
    TemporaryFolder small;
    if (::mount("zun-test", small.path.c_str(), "tmpfs", 0, "size=200k") != 0) GTEST_SKIP() << "can't mount a tmpfs";
    auto const frame = valueOf(randomFrame<Vec3b>(128, 128, random)); // 49 KB, and doesn't compress
    OneNode images("WriteFrames", {{"path", text(small / "%d.png")}});
    std::string error;
    Tick complete = 0;
    for (; complete < 20 && error.empty(); complete += error.empty() ? 1 : 0)
        error = errorOf([&] { images.run({{"frames", frame}}, complete); });
    EXPECT_NE(error.find("No space left on device"), std::string::npos) << error;
    EXPECT_EQ(small.files().size(), complete);
    for (std::string const &name : small.files())
        EXPECT_EQ(elements(read<Vec3b>({{"path", text(small / name)}})), elements(held<Rgb>(frame)));
    std::filesystem::remove(small / "0.png");
    expectError([&] { write(std::vector(20, frame), {{"path", text(small / "v.mkv")}}); }, {"No space left on device"});
    EXPECT_EQ(small.files().size(), complete - 1);

    OneNode video("WriteFrames", {{"path", text(small / "v.mkv")}});
    expectError(
        [&] {
            for (Tick tick = 0; tick < 20; tick++) video.run({{"frames", frame}}, tick);
        },
        {"No space left"});
    expectError([&] { video.node->flush(1); }, {"No space left", ".v.mkv.part"});
    EXPECT_TRUE(std::filesystem::exists(small / ".v.mkv.part"));
    ::umount(small.path.c_str());
}

TEST(FilePatterns, FillInTheNumber) {
    struct Case {
        char const *pattern;
        std::uint64_t number;
        char const *file;
    };
    for (Case const &c :
         {Case{"out-%05d.png", 7, "out-00007.png"}, Case{"%d", 12, "12"}, Case{"a%%b%02d", 345, "a%b345"},
          Case{"plain.png", 9, "plain.png"}, Case{"100%%.png", 1, "100%.png"}})
        EXPECT_EQ(media::FilePattern(c.pattern).file(c.number), c.file);
    for (char const *wrong : {"%s", "%", "%5d", "%-5d", "%05", "%n", "%d%d", "%0000d"})
        EXPECT_THROW(media::FilePattern{wrong}, Exception) << wrong;
}

} // namespace
} // namespace zun::test
