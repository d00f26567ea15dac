#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>

#include "containers/Mat.h"
#include "media/Media.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"

namespace zun::test {
namespace {

OptionNode text(std::string const &value) { return OptionNode::ofString(value); }

struct RecordFiles : testing::Test {
    RecordFiles() { media::registerNodes(); }

    TemporaryFolder folder;

    static std::string errorOf(auto action) {
        try {
            action();
        } catch (std::exception const &error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(RecordFiles, AreReadByTick) {
    writeBytes(folder / "in.jsonl", "1\n22\n333");
    OneNode node("ReadRecords", {{"path", text(folder / "in.jsonl")}, {"type", text("int")}});
    EXPECT_EQ(node.node->getRunUntil(endless), 3u);
    for (auto const &[tick, value] : {std::pair{2u, 333}, {0u, 1}, {1u, 22}})
        EXPECT_EQ(held<int>(node.run({}, tick).at("out.value")), value);
}

TEST_F(RecordFiles, HaveAsManyTicksAsLines) {
    for (auto const &[content, lines] : {std::pair{"", 0u}, {"\n", 1u}, {"1", 1u}, {"1\n", 1u}, {"1\n\n2\n", 3u}}) {
        writeBytes(folder / "in.jsonl", content);
        OneNode node("ReadRecords", {{"path", text(folder / "in.jsonl")}, {"type", text("int")}});
        EXPECT_EQ(node.node->getRunUntil(endless), lines) << content;
    }
}

TEST_F(RecordFiles, NameFileAndLineOfWhatIsWrong) {
    writeBytes(folder / "in.jsonl", "[1, 2]\n[1, \"x\"]\n\n");
    OneNode node("ReadRecords", {{"path", text(folder / "in.jsonl")}, {"type", text("zun::Vec2i")}});
    EXPECT_EQ(errorOf([&] { node.run({}, 0); }), "");
    std::string const wrong = errorOf([&] { node.run({}, 1); }), empty = errorOf([&] { node.run({}, 2); });
    EXPECT_NE(wrong.find("in.jsonl', line 2: [1]: expected a whole number"), std::string::npos) << wrong;
    EXPECT_NE(empty.find("in.jsonl', line 3: there is no value"), std::string::npos) << empty;
    std::string const missing = errorOf([&] {
        OneNode("ReadRecords", {{"path", text(folder / "no.jsonl")}, {"type", text("int")}});
    });
    EXPECT_NE(missing.find("no.jsonl' can't be opened: No such file"), std::string::npos) << missing;
}

TEST_F(RecordFiles, AreReadFromRegularFilesAlone) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (auto const &[path, why] :
         {std::pair{folder / "pipe", "is no regular file"}, {folder.path.string(), "is a folder"}}) {
        std::map<std::string, OptionNode> const options{{"path", text(path)}, {"type", text("int")}};
        std::string const error = errorOf([&] { OneNode("ReadRecords", options); });
        EXPECT_NE(error.find(why), std::string::npos) << error;
        auto const forecast = media::facts().at("ReadRecords").forecast(NodeConfig("ReadRecords", options));
        EXPECT_EQ(forecast.errors, std::vector<std::string>{error});
    }
}

TEST_F(RecordFiles, AreUnderTheFinalNameOnlyWhenTheyAreFinished) {
    OneNode writer("WriteRecords", {{"path", text(folder / "out.jsonl")}});
    EXPECT_TRUE(folder.files().empty());
    writer.run({{"value", valueOf(std::vector<int>{1, 2})}}, 0);
    writer.run({{"value", valueOf(std::vector<int>{})}}, 1);
    EXPECT_EQ(folder.files(), std::vector<std::string>{".out.jsonl.part"});
    writer.node->flush(2);
    EXPECT_EQ(folder.files(), std::vector<std::string>{"out.jsonl"});
    EXPECT_EQ(readBytes(folder / "out.jsonl"), "[1,2]\n[]\n");
}

TEST_F(RecordFiles, KeepWholeLinesOnAFullDisk) {
    TemporaryFolder small;
    if (::mount("zun-test", small.path.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "can't mount a tmpfs";
    {
        OneNode writer("WriteRecords", {{"path", text(small / "out.jsonl")}});
        std::string const line(10'000, 'x');
        Tick written = 0;
        std::string error;
        while (error.empty() && written < 20) {
            error = errorOf([&] { writer.run({{"value", valueOf(line)}}, written); });
            written += error.empty() ? 1 : 0;
        }
        EXPECT_NE(error.find("out.jsonl' can't be written: No space left on device"), std::string::npos) << error;
        writer.node->flush(written);
        EXPECT_GT(written, 2u);
        EXPECT_EQ(readBytes(small / "out.jsonl").size(), written * (line.size() + 3));
    }
    ::umount(small.path.c_str());
}

TEST_F(RecordFiles, CantBeWrittenWhereThereIsNoFolder) {
    std::string const error = errorOf([&] { OneNode("WriteRecords", {{"path", text(folder / "no/out.jsonl")}}); });
    EXPECT_NE(error.find("no' for"), std::string::npos) << error;
    EXPECT_NE(error.find("is not there"), std::string::npos) << error;
}

TEST_F(RecordFiles, OfAConstantHaveStorageOfTheirOwn) {
    OptionNode const pixel = OptionNode::ofInt(7);
    OneNode node("Constant", {{"type", text("zun::Mat<unsigned char, 2>")},
                              {"value", OptionNode::ofVector({OptionNode::ofVector({pixel, pixel})})}});
    using Grey = Mat<unsigned char, 2>;
    Grey const first = held<Grey>(node.run({}, 0).at("out.value"));
    first.first()[0] = 99;
    Grey const second = held<Grey>(node.run({}, 1).at("out.value"));
    EXPECT_EQ(second.first()[0], 7);
    auto const forecast =
        media::facts()
            .at("Constant")
            .forecast(NodeConfig("Constant", {{"type", text("zun::Box")}, {"value", OptionNode::ofVector({pixel})}}));
    ASSERT_EQ(forecast.errors.size(), 1u);
    EXPECT_NE(forecast.errors[0].find("a list of 4 numbers"), std::string::npos);
}

} // namespace
} // namespace zun::test
