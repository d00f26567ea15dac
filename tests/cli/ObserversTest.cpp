#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using nlohmann::json;

/// A folder with a run of three pictures.
struct Observers : testing::Test {
    Observers() {
        folder.write("p.yaml", R"(variables: {photo: "", out: out.jsonl}
nodes:
- {type: ReadFrames, name: reader, outputs: {grey: picture}, options: {path: "${photo}", repeat: 3}}
- {type: ConvertColour, name: cut, inputs: {Grey: picture}, outputs: {Binary: edges}, options: {binaryThreshold: 99}}
- {type: FindContours, name: find, inputs: {input: edges}, outputs: {boundingBox: boxes}}
- {type: MergeRecords, name: merge, inputs: {first: boxes}, outputs: {record: found}}
- {type: WriteRecords, name: writer, inputs: {value: found}, options: {path: "${out}"}}
)");
    }

    Ended run(std::string const &words) const { return zun("run p.yaml -D photo=" + photo + " " + words, folder); }

    Folder const folder;
};

TEST_F(Observers, TapStreamsToFilesNamedAsTheUserSays) {
    Ended const ended = run("--tap edges@0:3:2 --tap boxes@1 --tap picture@1={stem}-{tick}.png --tap reader.source");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out + ended.err, "");
    EXPECT_EQ(folder.files(), (Names{"boxes.jsonl", "coffee-1.png", "edges-00000.png", "edges-00002.png", "out.jsonl",
                                     "p.yaml", "reader.source.jsonl"}));
    EXPECT_EQ(json::parse(folder.read("boxes.jsonl")).at("tick"), 1);
    EXPECT_TRUE(folder.read("coffee-1.png").starts_with("\x89PNG"));
}

TEST_F(Observers, StatisticsGoWhereTheUserWantsThem) {
    zun::test::expectParts(run("--stats").err, {"cut (ConvertColour) ", "3 ticks in ", "frame storage: "});
    json const printed = json::parse(run("--stats=json").out);
    EXPECT_EQ(printed.at("nodes").size(), 5u);
    EXPECT_EQ(run("--stats=s.json --trace t.json").err, "");
    EXPECT_EQ(json::parse(folder.read("s.json")).at("ticks"), 3);
    EXPECT_GE(json::parse(folder.read("t.json")).at("traceEvents").size(), 12u);
    expectOneError(run("-D out=- --stats=json"), {"node 'writer' (WriteRecords) writes to the standard output, too"});
}

TEST_F(Observers, AreRefusedBeforeTheRun) {
    for (auto const &[words, message] : {std::pair("--tap edgs", "did you mean 'edges'"),
                                         {"--tap boxes=out.jsonl", "node 'writer' (WriteRecords) use the same file"},
                                         {"--trace missing/t.json", "--trace: the folder 'missing'"},
                                         {"--stats=/dev/full.json/s.json", "--stats: the folder '/dev/full.json'"},
                                         {"--tap edges=/nowhere/{tick}.png", "the folder '/nowhere'"}})
        expectOneError(run(words), {message});
    EXPECT_EQ(folder.files(), Names{"p.yaml"});
}

TEST_F(Observers, KeepWhatTheySawOfARunThatFails) {
    folder.write("in.jsonl", "[0,0,9,9]\n[0,0,9,9]\n[700,0,9,9]\n");
    folder.write("q.yaml", R"(nodes:
- {type: ReadFrames, outputs: {rgb: picture}, options: {path: ")" +
                               photo + R"(", repeat: 9}}
- {type: ReadRecords, outputs: {value: box}, options: {path: in.jsonl, type: "zun::Box"}}
- {type: CropAny, name: cut, inputs: {image: picture, box: box}, outputs: {output: part}}
- {type: WriteFrames, inputs: {frames: part}, options: {path: "%d.png"}}
)");
    Ended const ended = zun("run q.yaml --tap box --stats=s.json --trace t.json", folder);
    EXPECT_EQ(ended.status, 1);
    zun::test::expectParts(folder.read("box.jsonl"), {"{\"tick\":2,\"value\":[700.0,0.0,9.0,9.0]}\n"});
    zun::test::expectParts(folder.read("t.json"), {"cut fails"});
    EXPECT_EQ(json::parse(folder.read("s.json")).at("ticks"), 2);
}

TEST_F(Observers, DrawEveryExampleAndDescriptionsWithErrors) {
    for (auto const &entry : fs::directory_iterator(examples))
        if (entry.path().extension() == ".yaml") {
            std::string const file = entry.path();
            EXPECT_EQ(zun("draw " + file + " -o drawn.svg", folder).status, 0) << file;
            zun::test::expectParts(folder.read("drawn.svg"), {"<svg", "</svg>"});
        }
    run("--stats=s.json");
    zun::test::expectParts(zun("draw p.yaml -D photo=" + photo + " --stats s.json --set find.minAreas=1", folder).out,
                           {"cut\\nConvertColour\\n", " ms, ", "fillcolor=\"0.08 ", "color=\"#c00000\""});
    expectOneError(zun("draw p.yaml -D photo=" + photo + " --stats p.yaml", folder),
                   {"'p.yaml' is not what zun run --stats=FILE.json writes"});
}

} // namespace
} // namespace zun::cli::test
