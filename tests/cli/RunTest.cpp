#include <fstream>

#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

/// Numbers from one file to another: a source with as many ticks as it has lines.
char const *const copyNumbers = R"(variables: {to: out.jsonl}
nodes:
  - type: ReadRecords
    name: reader
    outputs: {value: numbers}
    options: {path: in.jsonl, type: int}
  - type: WriteRecords
    name: writer
    inputs: {value: numbers}
    options: {path: "${to}"}
)";

/// The photo, inverted, as one file.
char const *const invertPhoto = R"(variables: {photo: cup.png}
nodes:
  - type: ReadFrames
    name: photo
    outputs: {rgb: picture}
    options: {path: "${photo}"}
  - type: NegativeImage
    name: negative
    inputs: {input: picture}
    outputs: {output: inverted}
  - type: WriteFrames
    name: writer
    inputs: {frames: inverted}
    options: {path: inverted.png}
)";

std::string numbers(int from, int end) {
    std::string lines;
    for (int i = from; i < end; i++) lines += std::to_string(i) + "\n";
    return lines;
}

std::string contents(fs::path const &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Run, ThatSucceedsSaysNothing) {
    Folder const folder;
    folder.write("in.jsonl", numbers(0, 20));
    folder.write("copy.yaml", copyNumbers);
    Ended const ended = zun({"run", "copy.yaml"}, folder);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out + ended.err, "");
    EXPECT_EQ(folder.read("out.jsonl"), numbers(0, 20));
}

TEST(Run, GivesTheSameWithEveryExecutor) {
    Folder const folder;
    folder.write("in.jsonl", numbers(0, 200));
    folder.write("copy.yaml", copyNumbers);
    using Arguments = std::vector<std::string>;
    for (Arguments const &choice : {Arguments{"--executor", "sequential"},
                                    {"--executor", "shuffled", "--seed", "7", "--threads", "5"},
                                    {"--executor", "threads", "--threads", "3"},
                                    {"--max-memory", "1"}}) {
        Arguments arguments{"run", "copy.yaml"};
        arguments.insert(arguments.end(), choice.begin(), choice.end());
        EXPECT_EQ(zun(arguments, folder).status, 0);
        EXPECT_EQ(folder.read("out.jsonl"), numbers(0, 200)) << testing::PrintToString(choice);
        fs::remove(folder.path / "out.jsonl");
    }
}

TEST(Run, FramesChooseTheTicks) {
    Folder const folder;
    folder.write("in.jsonl", numbers(0, 20));
    folder.write("copy.yaml", copyNumbers);
    struct {
        char const *frames;
        int from, end;
    } const ranges[] = {{"3:7", 3, 7}, {":2", 0, 2}, {"18:", 18, 20}, {":", 0, 20}, {"15:99", 15, 20}};
    for (auto const &[frames, from, end] : ranges) {
        Ended const ended = zun({"run", "copy.yaml", "--frames", frames}, folder);
        EXPECT_EQ(ended.status, 0) << frames << ended.err;
        EXPECT_EQ(folder.read("out.jsonl"), numbers(from, end)) << frames;
    }
    Ended const beyond = zun({"run", "copy.yaml", "--frames", "50:60"}, folder);
    EXPECT_EQ(beyond.status, 0) << beyond.err;
    EXPECT_NE(beyond.err.find("no tick was run"), std::string::npos) << beyond.err;
}

TEST(Run, VariablesAndSettingsReplaceWhatTheDescriptionSays) {
    Folder const folder;
    folder.write("in.jsonl", numbers(0, 3));
    folder.write("other.jsonl", numbers(7, 9));
    folder.write("copy.yaml", copyNumbers);
    EXPECT_EQ(zun({"run", "copy.yaml", "-D", "to=named.jsonl"}, folder).status, 0);
    EXPECT_EQ(folder.read("named.jsonl"), numbers(0, 3));
    EXPECT_EQ(
        zun({"run", "--set", "reader.path=other.jsonl", "--set", "writer.path=set.jsonl", "copy.yaml"}, folder).status,
        0);
    EXPECT_EQ(folder.read("set.jsonl"), numbers(7, 9));
    EXPECT_FALSE(folder.holds("out.jsonl"));
}

TEST(Run, ChangesAnOptionFromATickOn) {
    Folder const folder;
    folder.write("dot.yaml", "nodes:\n"
                             "- {type: ReadFrames, outputs: {rgb: picture}, options: {path: \"${photo}\", repeat: 4}}\n"
                             "- {type: Constant, outputs: {value: points},"
                             " options: {type: \"zun::List<zun::Vec2f>\", value: [[1, 2]]}}\n"
                             "- {type: DrawPoints, name: dot, inputs: {image: picture, points: points},"
                             " outputs: {output: dotted}}\n"
                             "- {type: WriteFrames, inputs: {frames: dotted}, options: {path: \"%d.png\"}}\n");
    std::string const definition = "photo=" + photo.string();
    Ended const ended = zun(
        {"run", "dot.yaml", "-D", definition, "--change", "2:dot.colour=0x0000FF", "--change", "3:dot.colour=0xFF00FF"},
        folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(folder.read("0.png"), folder.read("1.png"));
    EXPECT_NE(folder.read("1.png"), folder.read("2.png"));
    EXPECT_EQ(folder.read("3.png"), folder.read("0.png"));
    EXPECT_EQ(zun({"run", "dot.yaml", "-D", definition, "--change", "dot.colour=0x0000FF"}, folder).status, 2);
    Ended const unknown = zun({"run", "dot.yaml", "-D", definition, "--change", "1:dott.colour=0x0000FF"}, folder);
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.err.find("'dott'"), std::string::npos) << unknown.err;
}

TEST(Run, ProgressAndStatisticsAreMessages) {
    Folder const folder;
    folder.write("in.jsonl", numbers(0, 20));
    folder.write("copy.yaml", copyNumbers);
    Ended const ended = zun({"run", "copy.yaml", "--progress", "--stats"}, folder);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "");
    EXPECT_NE(ended.err.find("20 ticks done in "), std::string::npos) << ended.err;
    EXPECT_NE(ended.err.find("frame storage: "), std::string::npos) << ended.err;
    EXPECT_EQ(ended.err.find('\033'), std::string::npos) << "nothing is rewritten where there is no terminal";
}

TEST(Run, AMissingPhotoIsOneErrorThatNamesNodeAndFile) {
    Folder const folder;
    folder.write("invert.yaml", invertPhoto);
    Ended const ended = zun({"run", "invert.yaml"}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(occurrences(ended.err, "error:"), 1u) << ended.err;
    EXPECT_NE(ended.err.find("'photo' (ReadFrames)"), std::string::npos) << ended.err;
    EXPECT_NE(ended.err.find("cup.png"), std::string::npos) << ended.err;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"invert.yaml"});
}

TEST(Run, ABrokenPhotoIsOneErrorAndLeavesNoFile) {
    std::string const whole = contents(photo);
    std::string const broken[] = {whole.substr(0, whole.size() / 2), whole.substr(0, 20), "this is a text\n", ""};
    for (std::string const &bytes : broken) {
        Folder const folder;
        folder.write("invert.yaml", invertPhoto);
        folder.write("cup.png", bytes);
        Ended const ended = zun({"run", "invert.yaml"}, folder);
        EXPECT_EQ(ended.status, 1) << bytes.size();
        EXPECT_EQ(occurrences(ended.err, "error:"), 1u) << ended.err;
        EXPECT_NE(ended.err.find("'photo' (ReadFrames)"), std::string::npos) << ended.err;
        EXPECT_NE(ended.err.find("cup.png"), std::string::npos) << ended.err;
        EXPECT_EQ(folder.names(), (std::vector<std::string>{"cup.png", "invert.yaml"}));
    }
}

TEST(Run, AValueThatANodeCannotTakeStopsTheRunAndKeepsWhatIsComplete) {
    Folder const folder;
    folder.write("boxes.jsonl", "[0, 0, 10, 10]\n[5, 5, 20, 10]\n[700, 0, 10, 10]\n[0, 0, 5, 5]\n");
    folder.write("cut.yaml", R"(nodes:
  - {type: ReadFrames, name: photo, outputs: {rgb: picture}, options: {path: "${photo}", repeat: 0}}
  - {type: ReadRecords, name: boxes, outputs: {value: box}, options: {path: boxes.jsonl, type: "zun::Box"}}
  - {type: CropAny, name: cut, inputs: {image: picture, box: box}, outputs: {output: cut}}
  - {type: WriteFrames, name: writer, inputs: {frames: cut}, options: {path: cut-%05d.png}}
)");
    Ended const ended = zun({"run", "cut.yaml", "-D", "photo=" + photo.string()}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(occurrences(ended.err, "error:"), 1u) << ended.err;
    for (char const *part : {"'cut' (CropAny)", "tick 2", "'box'", "700"})
        EXPECT_NE(ended.err.find(part), std::string::npos) << part << '\n' << ended.err;
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"boxes.jsonl", "cut-00000.png", "cut-00001.png", "cut.yaml"}));
}

TEST(Run, WhereANodeFailedInItsSourceShowsOnRequest) {
    Folder const folder;
    fs::copy(photo, folder.path / "cup.png");
    folder.write("dots.yaml", R"(nodes:
  - {type: ReadFrames, outputs: {rgb: picture}, options: {path: cup.png}}
  - {type: Constant, outputs: {value: points}, options: {type: "zun::List<zun::Vec2f>", value: [[1, 2]]}}
  - {type: DrawPoints, name: dots, inputs: {image: picture, points: points}, outputs: {output: dotted},
     options: {colour: green}}
  - {type: WriteFrames, inputs: {frames: dotted}, options: {path: dotted.png}}
)");
    Ended const quiet = zun({"run", "dots.yaml"}, folder);
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(occurrences(quiet.err, "Invalid fill colour value: green"), 1u) << quiet.err;
    EXPECT_NE(quiet.err.find("node 'dots' (DrawPoints) failed at tick 0"), std::string::npos) << quiet.err;
    Ended const verbose = zun({"run", "dots.yaml", "--verbose"}, folder);
    EXPECT_NE(verbose.err.find("[root] error: Invalid fill colour value: green\n"), std::string::npos) << verbose.err;
}

TEST(Run, TheFirstExampleGivesWhatItSays) {
    Folder const folder;
    std::vector<std::string> arguments{"run", (examples / "first.yaml").string()};
    for (std::string const &definition :
         {"photo=" + photo.string(), "points=" + (examples / "points.jsonl").string(), std::string("out=.")})
        arguments.insert(arguments.end(), {"-D", definition});
    Ended const ended = zun(arguments, folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"close-up.png", "marked.png", "points.jsonl"}));
}

} // namespace
} // namespace zun::cli::test
