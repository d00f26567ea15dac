// The nodes on files in a folder of their own.
#include <gtest/gtest.h>

#include <cmath>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "media/HostNodes.h"
#include "media/files/FilePattern.h"
#include "media/reading/FrameReader.h"
#include "media/reading/WholePicture.h"
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
using Frames = std::vector<std::shared_ptr<Variant>>;

struct MediaFiles : testing::Test {
    MediaFiles() { media::registerNodes(); }

    /// The options of a node for a file in the folder.
    Options file(std::string const &name, Options more = {}) const {
        more["path"] = Option(folder / name);
        return more;
    }
    Options records(std::string const &name, std::string const &type = "int") const {
        return file(name, {{"type", type}});
    }

    /// What a node tells that is built and not initialised.
    static Forecast forecast(std::string const &type, Options options) {
        NodeRegistry::Entry const &entry = *NodeRegistry::find(type);
        std::unique_ptr<PipelineNode> const node(entry.factory({}, connected(type, std::move(options))));
        return entry.facts.forecast(*node, nullptr);
    }

    /// Why a node fails to initialise, which it has to tell ahead.
    static std::string problem(std::string const &type, Options const &options) {
        std::string const failure = messageOf([&] { OneNode(type, options); });
        std::vector<std::string> const told = forecast(type, options).problems;
        EXPECT_EQ(told.empty() ? "no failure" : told[0], failure);
        return failure;
    }

    static void expectError(auto action, std::vector<std::string> const &parts) {
        expectParts(messageOf(action), parts);
    }

    /// A writer of frames that come from no source.
    static NodeConfig writerOf(Options const &options) {
        return NodeConfig("WriteFrames", options, {{"frames", "frames"}}, {});
    }

    static void write(Frames const &frames, Options const &options) {
        OneNode writer(writerOf(options));
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

    std::mt19937 random{7};
    TemporaryFolder const folder;
};

TEST_F(MediaFiles, ComeBackBitByBitFromPng) {
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
            auto const &[p, q, g] = std::tuple(rgb.first()[i], rgba.first()[i], grey.first()[i]);
            ASSERT_EQ(luma.first()[i], (p[0] * 19595 + p[1] * 38470 + p[2] * 7471 + 32768) / 65536);
            ASSERT_EQ(opaque.first()[i], (Vec3b{q[0], q[1], q[2]}));
            ASSERT_EQ(replicated.first()[i], (Vec3b{g, g, g}));
        }
    }
}

TEST_F(MediaFiles, ComeBackBitByBitFromLosslessVideos) {
    Frames const rgb = some<Vec3b>(7, 50, 67), grey = some<unsigned char>(7, 50, 68);
    for (char const *name : {"video.mkv", "video.avi", "video.mp4", "video.mov"}) {
        write(rgb, file(name, {{"lossless", true}}));
        OneNode reader("ReadFrames", file(name, {{"repeat", 2}}));
        EXPECT_EQ(reader.node->getRunUntil(endless), endless) << "what a container says of its frames is not certain";
        EXPECT_EQ(OneNode("ReadFrames", file(name, {{"count", 7}, {"repeat", 2}})).node->getRunUntil(endless), 14u);
        // In order, then a jump ahead, then back.
        for (Tick tick : {0u, 1u, 2u, 5u, 6u, 7u, 8u, 3u})
            EXPECT_EQ(elements(held<Rgb>(reader.run({}, tick).at("out.rgb"))), elements(held<Rgb>(rgb[tick % 7])))
                << name << ", tick " << tick;
        write(grey, file(name, {{"lossless", true}}));
        EXPECT_EQ(elements(read<unsigned char>(file(name, {{"first", 2}}), 1)), elements(held<Grey>(grey[3]))) << name;
    }
}

TEST_F(MediaFiles, GoToAnyFrameThatWasReadOnceExactly) {
    constexpr Tick count = 560; // beyond two groups of pictures
    Frames const frames = some<Vec3b>(count, 36, 52);
    for (auto const &[name, codec] :
         {std::pair("a.mp4", "h264"), {"b.mkv", "h265"}, {"c.ts", "h264"}, {"d.webm", "vp9"}}) {
        write(frames, file(name, {{"codec", codec}, {"preset", "ultrafast"}}));
        OneNode reader("ReadFrames", file(name));
        std::vector<std::vector<unsigned char>> plain;
        auto const frame = [&](Tick tick) {
            Rgb const rgb = held<Rgb>(reader.run({}, tick).at("out.rgb"));
            auto const *const first = reinterpret_cast<unsigned char const *>(rgb.first());
            return std::vector(first, first + rgb.bytes());
        };
        for (Tick tick = 0; tick < count; tick++) plain.push_back(frame(tick));
        EXPECT_TRUE(reader.run({}, count).empty()) << name;
        for (Tick tick : {559u, 300u, 299u, 3u, 251u, 250u, 249u, 500u, 501u, 0u, 558u})
            EXPECT_EQ(frame(tick), plain[tick]) << name << ", tick " << tick;
        media::FrameReader file(folder / name);
        media::Frames ignored;
        ASSERT_TRUE(file.skipTo(400) && file.next({}, ignored));
        EXPECT_TRUE(file.skipTo(300)) << name << " was read from its beginning again";
    }
}

TEST_F(MediaFiles, StayCloseInFormatsWithLoss) {
    Rgb smooth({64, 64});
    for (std::uint32_t i = 0; i < smooth.count; i++)
        for (int c = 0; c < 3; c++) smooth.first()[i][c] = static_cast<unsigned char>(i % 64 + i / 64 * 2);
    for (char const *name : {"picture.jpg", "video.mp4", "video.mkv"}) {
        write({valueOf(smooth)}, file(name));
        Rgb const back = read<Vec3b>(file(name));
        for (std::uint32_t i = 0; i < smooth.count * 3; i++)
            ASSERT_NEAR(back.first()[i / 3][i % 3], smooth.first()[i / 3][i % 3], 12) << name << " at " << i;
    }
}

TEST_F(MediaFiles, OfASequenceAreCountedAndHaveNoGaps) {
    Frames const frames = some<unsigned char>(4, 2, 2);
    write(frames, file("f-%03d.png"));
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"f-000.png", "f-001.png", "f-002.png", "f-003.png"}));
    OneNode reader("ReadFrames", file("f-%03d.png", {{"first", 1}}));
    EXPECT_EQ(reader.node->getRunUntil(endless), 3u);
    EXPECT_TRUE(reader.node->canSelfParallelise());
    EXPECT_EQ(elements(held<Grey>(reader.run({}, 2).at("out.grey"))), elements(held<Grey>(frames[3])));
    expectError([&] { read<Vec3b>(file("f-%03d.png", {{"count", 5}})); }, {"has 4 frames", "asks for 5"});
    std::filesystem::remove(folder / "f-002.png");
    expectError([&] { read<Vec3b>(file("f-%03d.png")); }, {"f-002.png' is missing", "f-003.png", "gaps: skip"});
    EXPECT_EQ(read<Vec3b>(file("f-%03d.png", {{"count", 1}})).shape[0], 2u); // a gap after them
    OneNode skipping("ReadFrames", file("f-%03d.png", {{"gaps", "skip"}}));
    EXPECT_EQ(skipping.node->getRunUntil(endless), 3u);
    EXPECT_EQ(elements(held<Grey>(skipping.run({}, 2).at("out.grey"))), elements(held<Grey>(frames[3])));
}

TEST_F(MediaFiles, OfFloatsNeedAScale) {
    Mat<float, 2> frame({1, 6});
    std::copy_n(std::vector{0.0f, 0.5f, 1.0f, -3.0f, 7.0f, std::nanf("")}.begin(), 6, frame.first());
    expectError([&] { write({valueOf(frame)}, file("float.png")); }, {"floats", "scale"});
    Options const scaled = file("float.png", {{"scale", 255.0}});
    using Bytes = std::vector<unsigned char>;
    for (auto const &[value, bytes] :
         {std::pair(valueOf(frame), Bytes{0, 128, 255, 0, 255, 0}), {valueOf(Grey({1, 2}, 1)), {255, 255}}}) {
        write({value}, scaled);
        EXPECT_EQ(elements(read<unsigned char>(file("float.png"))), bytes);
    }
}

TEST_F(MediaFiles, ThatAreNotPicturesGiveOneClearError) {
    folder.write("text.png", "this is not a picture\n");
    folder.write("empty.png", "");
    for (auto const &[name, reason] : {std::pair("missing.png", "doesn't exist"),
                                       {"text.png", "not an image or video"},
                                       {"empty.png", "is empty"},
                                       {"g-%03d.png", "g-"}})
        expectError([&, path = name] { read<Vec3b>(file(path)); }, {folder / std::string(name).substr(0, 2), reason});
    write(some<Vec3b>(2, 4, 4), file("two.mkv"));
    expectError([&] { read<Vec3b>(file("two.mkv", {{"first", 2}})); }, {"two.mkv' has no frame 2"});
}

TEST_F(MediaFiles, CutShortAreRefusedWhereverTheyEnd) {
    write(some<Vec3b>(1, 40, 40), file("whole.png"));
    write(some<Vec3b>(1, 40, 40), file("whole.jpg"));
    write(some<Vec3b>(1, 8, 8), file("small.jpg"));
    std::string const picture = folder.read("whole.jpg"), thumbnail = "Exif" + folder.read("small.jpg");
    auto const byte = [](std::size_t value) { return static_cast<char>(value & 255); };
    std::size_t const length = thumbnail.size() + 2;
    folder.write("exif.jpg", picture.substr(0, 2) + "\xFF\xE1" + byte(length >> 8) + byte(length) + thumbnail +
                                 picture.substr(2) + "more");
    EXPECT_EQ(elements(read<Vec3b>(file("exif.jpg"))), elements(read<Vec3b>(file("whole.jpg"))));

    for (std::string const name : {"whole.png", "whole.jpg", "exif.jpg"})
        for (std::size_t left = folder.read(name).size() - (name == "exif.jpg" ? 5 : 1); left > 0;
             left -= 1 + left / 20) {
            folder.write("cut-" + name, folder.read(name).substr(0, left));
            expectError([&] { read<Vec3b>(file("cut-" + name)); }, {folder / "cut-" + name});
        }
}

TEST_F(MediaFiles, OfAVideoThatEndsEarlyFailAtTheFirstMissingFrame) {
    write(some<Vec3b>(20, 48, 48), file("whole.avi"));
    std::string const bytes = folder.read("whole.avi");
    folder.write("cut.avi", bytes.substr(0, bytes.size() / 2));
    OneNode reader("ReadFrames", file("cut.avi"));
    Tick tick = 0;
    std::string failure = "no failure";
    while (tick < 20 && failure == "no failure")
        if (failure = messageOf([&] { reader.run({}, tick); }); failure == "no failure") tick++;
    EXPECT_TRUE(tick > 5 && tick < 20) << tick;
    expectParts(failure, {"cut.avi' is damaged at frame " + std::to_string(tick)});
}

TEST_F(MediaFiles, ThatCantBeWrittenLeaveNothingBehind) {
    Frames const two = some<Vec3b>(2, 8, 8);
    std::tuple<Frames, char const *, Options, std::vector<std::string>> const cases[] = {
        {two, "one.png", {}, {"one.png", "-%05d.png"}},
        {two, "video.mpg", {}, {"video.mpg", ".png"}},
        {two, "no/such/folder.png", {}, {"no/such", "doesn't exist"}},
        {two, "%x.png", {}, {"%x.png", "%05d"}},
        {two, "{tock}.png", {}, {"{tock}", "{tick}"}},
        {two, "v.mkv", {{"fps", -1}}, {"fps"}},
        {two, "%d.mkv", {}, {"one file"}},
        {two, "p.jpg", {{"quality", 0}}, {"quality"}},
        {two, "v.gif", {{"lossless", true}}, {"v.gif", ".mp4"}},
        {{valueOf(Rgb())}, "none.png", {}, {"0 rows and 0 columns"}},
        {{valueOf(std::string("x"))}, "s.png", {}, {"std::string"}},
        {{two[0], valueOf(Rgb({4, 8}, {}))}, "two.mkv", {}, {"has 4 rows, 8 columns", "of 8 rows, 8 columns and 3"}},
    };
    for (auto const &[frames, name, options, message] : cases) {
        Options const all = file(name, options);
        problem("WriteFrames", all);
        expectError([&, &written = frames] { write(written, all); }, message);
    }
    EXPECT_EQ(folder.files(), std::vector<std::string>{"one.png"});
    OneNode writer(writerOf(file("v.mkv")));
    writer.run({{"frames", two[0]}}, 0);
    std::string const part = "." + ("v.mkv." + std::to_string(::getpid())) + "-";
    EXPECT_TRUE(folder.files().at(0).starts_with(part)) << "until it is flushed, not " << folder.files()[0];
    EXPECT_EQ(folder.files().size(), 2u);
}

TEST_F(MediaFiles, OnAFullDiskGiveTheReasonAndKeepWhatIsComplete) {
    if (::mount("zun-test", folder.path.c_str(), "tmpfs", 0, "size=200k") != 0) GTEST_SKIP() << "can't mount a tmpfs";
    Frames const frames(20, some<Vec3b>(1, 128, 128)[0]); // 49 KB each, and they don't compress
    expectError([&] { write(frames, file("%d.png")); }, {"No space left on device"});
    std::vector<std::string> const complete = folder.files();
    EXPECT_GT(complete.size(), 1u);
    for (std::string const &name : complete)
        EXPECT_EQ(elements(read<Vec3b>(file(name))), elements(held<Rgb>(frames[0]))) << name;

    std::filesystem::remove(folder / "0.png");
    OneNode video(writerOf(file("v.mkv", {{"lossless", true}}))), records("WriteRecords", file("out.jsonl"));
    Tick tick = 0;
    auto const fill = [&](OneNode &node, char const *port, std::shared_ptr<Variant> const &value) {
        expectError(
            [&] {
                for (tick = 0; tick < 20; tick++) node.run({{port, value}}, tick);
            },
            {"No space left on device"});
    };
    fill(video, "frames", frames[0]);
    expectError([&] { video.node->flush(1); }, {"No space left", ".v.mkv." + std::to_string(::getpid())});
    std::vector<std::string> const files = folder.files();
    auto const kept = std::find_if(files.begin(), files.end(), [](auto const &f) { return f.starts_with(".v.mkv."); });
    ASSERT_NE(kept, files.end());

    std::filesystem::remove(folder / *kept);
    fill(records, "value", valueOf(std::string(10'000, 'x')));
    records.node->flush(tick);
    EXPECT_GT(tick, 2u);
    EXPECT_EQ(folder.read("out.jsonl").size(), tick * 10'003) << "whole lines";
    ::umount(folder.path.c_str());
}

TEST_F(MediaFiles, AreToldAhead) {
    write(some<Vec3b>(1, 4, 5), file("%d.png"));
    EXPECT_EQ(forecast("ReadFrames", file("%d.png")).bytes,
              (std::map<std::string, std::uint64_t>{{"rgb", 60}, {"grey", 20}}));
    for (std::string const type : {"ReadFrames", "WriteFrames", "ReadRecords", "WriteRecords"}) {
        FileUse const use = forecast(type, records("a%%-%d.png")).files.at(0);
        EXPECT_EQ(use.access == FileUse::Access::Write, type.starts_with("Write"));
        EXPECT_EQ(use.numbered, type.ends_with("Frames"));
        EXPECT_EQ(use.text, folder / "a%%-%d.png");
        EXPECT_EQ(use.beforeNumber + "|" + use.afterNumber, folder / (use.numbered ? "a%-|.png" : "a%%-%d.png|"));
    }
    EXPECT_TRUE(forecast("WriteRecords", {{"path", "-"}}).files.empty());
    expectParts(problem("ReadFrames", file("%d.png", {{"count", -1}})), {"negative"});
    folder.write("in.jsonl", "");
    expectParts(forecast("ReadRecords", records("in.jsonl", "Lost")).problems.at(0), {"'Lost' is not a known type"});
}

TEST_F(MediaFiles, OfRecordsHaveATickForEachLine) {
    for (auto const &[content, lines] : {std::pair{"", 0u}, {"\n", 1u}, {"1\n\n2\n", 3u}, {"1\n22\n333", 3u}}) {
        folder.write("in.jsonl", content);
        EXPECT_EQ(OneNode("ReadRecords", records("in.jsonl")).node->getRunUntil(endless), lines) << content;
    }
    OneNode node("ReadRecords", records("in.jsonl"));
    for (auto const &[tick, value] : {std::pair{2u, 333}, {0u, 1}, {1u, 22}})
        EXPECT_EQ(held<int>(node.run({}, tick).at("out.value")), value);
    folder.write("in.jsonl", "1\n\"x\"\n\n");
    for (auto const &[tick, fault] : {std::pair{1u, "line 2: expected a whole"}, {2u, "line 3: there is no value"}})
        expectError([&, t = tick] { OneNode("ReadRecords", records("in.jsonl")).run({}, t); },
                    {"in.jsonl', " + std::string(fault)});
}

TEST_F(MediaFiles, OfRecordsAreRegularFilesInFoldersThatExist) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (auto const &[name, why] : {std::pair{"pipe", "pipe' is not a regular file"},
                                    {"", "is a folder"},
                                    {"no.jsonl", "no.jsonl' can't be opened: No such file"}})
        expectParts(problem("ReadRecords", records(name)), {why});
    expectParts(problem("WriteRecords", file("no/out.jsonl")), {"no' for", "doesn't exist"});
    EXPECT_EQ(problem("WriteRecords", {{"path", "-"}}), "no failure");
}

TEST_F(MediaFiles, AreNotNeededForAConstant) {
    auto const constant = [](char const *type) -> Options {
        Options options{{"type", type}};
        options["value"] = OptionNode::ofVector({OptionNode::ofVector({Option(7)})});
        return options;
    };
    OneNode node("Constant", constant("zun::Mat<unsigned char, 2>"));
    auto const frame = [&](Tick tick) { return held<Mat<unsigned char, 2>>(node.run({}, tick).at("out.value")); };
    frame(0).first()[0] = 99;
    EXPECT_EQ(frame(1).first()[0], 7);
    EXPECT_EQ(forecast("Constant", constant("zun::Mat<float, 2>")).bytes.at("value"), sizeof(float));
    expectParts(problem("Constant", constant("zun::Box")), {"option value: expected a list of 4"});
    expectParts(problem("Constant", constant("Lost")), {"'Lost' is not a known type"});
}

std::string segment(char marker, std::string const &content) {
    return {"\xFF"s + marker + '\0' + static_cast<char>(content.size() + 2) + content};
}

TEST(JpegFiles, EndAtTheirOwnLastMarker) {
    std::string const start = "\xFF\xD8", end = "\xFF\xD9", tables = segment('\xC4', "\x01\xFF\xD9"),
                      scan = segment('\xDA', "\x01\xFF\xD9") + "\x12\xFF\x00\x34\xFF\xD0\xFF\x7F\xD9\xFF\xD7\x56"s,
                      thumbnail = segment('\xE1', start + tables + scan + end);
    for (std::string const &inner : {""s, tables, tables + scan, tables + scan + tables + scan + scan + "\xFF",
                                     thumbnail + tables + scan, thumbnail + thumbnail}) {
        std::string const whole = start + inner + end;
        EXPECT_TRUE(media::reachesEndOfJpeg(whole)) << testing::PrintToString(whole);
        EXPECT_TRUE(media::reachesEndOfJpeg(whole + "more")) << testing::PrintToString(whole);
        for (std::size_t length = 0; length < whole.size(); length++)
            EXPECT_FALSE(media::reachesEndOfJpeg(whole.substr(0, length))) << length << testing::PrintToString(whole);
    }
}

TEST(FilePatterns, FillInTheNumber) {
    for (auto const &[pattern, file] :
         {std::pair("out-%05d.png", "out-00345.png"), {"%d", "345"}, {"a%%b%02d", "a%b345"}})
        EXPECT_EQ(media::FilePattern(pattern).file(345), file);
    for (char const *wrong : {"%s", "%", "%5d", "%-5d", "%05", "%n", "%d%d", "%0000d"})
        EXPECT_THROW(media::FilePattern{wrong}, Exception) << wrong;
}

} // namespace
} // namespace zun::test
