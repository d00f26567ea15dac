#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>

#include "containers/Mat.h"
#include "media/Media.h"
#include "support/Failures.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::test {
namespace {

using Options = std::map<std::string, OptionNode>;

struct RecordFiles : testing::Test {
    RecordFiles() { media::registerNodes(); }

    Options reading(std::string const &name, std::string const &type = "int") const {
        return {{"path", OptionNode::ofString(folder / name)}, {"type", OptionNode::ofString(type)}};
    }
    Options writing(std::string const &name) const { return {{"path", OptionNode::ofString(folder / name)}}; }

    TemporaryFolder const folder;
};

TEST_F(RecordFiles, HaveATickForEachLine) {
    for (auto const &[content, lines] : {std::pair{"", 0u}, {"\n", 1u}, {"1\n\n2\n", 3u}, {"1\n22\n333", 3u}}) {
        folder.write("in.jsonl", content);
        EXPECT_EQ(OneNode("ReadRecords", reading("in.jsonl")).node->getRunUntil(endless), lines) << content;
    }
    OneNode node("ReadRecords", reading("in.jsonl"));
    for (auto const &[tick, value] : {std::pair{2u, 333}, {0u, 1}, {1u, 22}})
        EXPECT_EQ(held<int>(node.run({}, tick).at("out.value")), value);
}

TEST_F(RecordFiles, NameFileAndLineOfWhatIsWrong) {
    folder.write("in.jsonl", "[1, 2]\n[1, \"x\"]\n\n");
    OneNode node("ReadRecords", reading("in.jsonl", "zun::Vec2i"));
    auto const errorAt = [&](Tick tick) { return messageOf([&] { node.run({}, tick); }); };
    EXPECT_EQ(errorAt(0), "no failure");
    expectParts(errorAt(1), {"in.jsonl', line 2: [1]: expected a whole number"});
    expectParts(errorAt(2), {"in.jsonl', line 3: there is no value"});
}

TEST_F(RecordFiles, AreRegularFilesInFoldersThatAreThere) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (auto const &[name, why] : {std::pair{"pipe", "is no regular file"},
                                    {"", "is a folder"},
                                    {"no.jsonl", "no.jsonl' can't be opened: No such file"}}) {
        Options const options = reading(name);
        std::string const error = messageOf([&] { OneNode("ReadRecords", options); });
        expectParts(error, {why});
        auto const forecast = media::facts().at("ReadRecords").forecast(NodeConfig("ReadRecords", options));
        EXPECT_EQ(forecast.errors, std::vector<std::string>{error});
    }
    expectParts(messageOf([&] { OneNode("WriteRecords", writing("no/out.jsonl")); }), {"no' for", "is not there"});
}

TEST_F(RecordFiles, KeepWholeLinesOnAFullDisk) {
    if (::mount("zun-test", folder.path.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "can't mount a tmpfs";
    std::string const line(10'000, 'x');
    Tick written = 0;
    {
        OneNode writer("WriteRecords", writing("out.jsonl"));
        auto const runAll = [&] {
            for (; written < 20; written++) writer.run({{"value", valueOf(line)}}, written);
        };
        expectParts(messageOf(runAll), {"out.jsonl' can't be written: No space left on device"});
        writer.node->flush(written);
    }
    EXPECT_GT(written, 2u);
    EXPECT_EQ(folder.read("out.jsonl").size(), written * (line.size() + 3));
    ::umount(folder.path.c_str());
}

TEST_F(RecordFiles, OfAConstantHaveStorageOfTheirOwn) {
    OptionNode const row = OptionNode::ofVector({OptionNode::ofInt(7)});
    auto const constant = [&](char const *type) {
        return NodeConfig("Constant", {{"type", OptionNode::ofString(type)}, {"value", OptionNode::ofVector({row})}},
                          {}, {{"value", "out"}});
    };
    OneNode node(constant("zun::Mat<unsigned char, 2>"));
    auto const frame = [&](Tick tick) { return held<Mat<unsigned char, 2>>(node.run({}, tick).at("out")); };
    frame(0).first()[0] = 99;
    EXPECT_EQ(frame(1).first()[0], 7);
    expectParts(media::facts().at("Constant").forecast(constant("zun::Box")).errors.at(0), {"a list of 4 numbers"});
}

} // namespace
} // namespace zun::test
