#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

std::string numbers(int from, int end) {
    std::string lines;
    for (int i = from; i < end; i++) lines += std::to_string(i) + "\n";
    return lines;
}

/// A folder with a run that copies numbers from one file to another, of as many ticks as the file has lines.
struct Run : testing::Test {
    Run() {
        folder.write("in.jsonl", numbers(0, 20));
        folder.write("copy.yaml", R"(variables: {to: out.jsonl}
nodes:
- {type: ReadRecords, name: reader, outputs: {value: numbers}, options: {path: in.jsonl, type: int}}
- {type: WriteRecords, name: writer, inputs: {value: numbers}, options: {path: "${to}"}}
)");
    }

    Ended copy(std::string const &words) const { return zun("run copy.yaml " + words, folder); }

    /// A run of the description that is written first, on the photo.
    Ended runOnPhoto(std::string const &description, std::string const &words = "") const {
        folder.write("photo.yaml", description);
        return zun("run photo.yaml -D photo=" + photo + " " + words, folder);
    }

    Folder const folder;
};

TEST_F(Run, ChoosesItsTicksAndSaysNothingInEveryWayOfRunning) {
    for (auto const &[words, from, end] : {std::tuple("", 0, 20),
                                           {"--executor sequential --frames 5:", 5, 20},
                                           {"--executor shuffled --seed 7 --threads 5 --frames 3:7", 3, 7},
                                           {"--executor threads --threads 3 --max-memory 1", 0, 20},
                                           {"--frames :2", 0, 2},
                                           {"--frames 18:", 18, 20},
                                           {"--frames :", 0, 20},
                                           {"--frames 15:99", 15, 20}}) {
        SCOPED_TRACE(words);
        Ended const ended = copy(words);
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.out + ended.err, "");
        EXPECT_EQ(folder.read("out.jsonl"), numbers(from, end));
    }
    Ended const beyond = copy("--frames 50:60");
    EXPECT_EQ(beyond.status, 0);
    expectParts(beyond.err, {"no tick was run"});
}

TEST_F(Run, VariablesAndSettingsReplaceWhatTheDescriptionSays) {
    folder.write("other.jsonl", numbers(7, 9));
    EXPECT_EQ(copy("-D to=named.jsonl").status, 0);
    EXPECT_EQ(folder.read("named.jsonl"), numbers(0, 20));
    EXPECT_EQ(copy("--set reader.path=other.jsonl --set writer.path=set.jsonl").status, 0);
    EXPECT_EQ(folder.read("set.jsonl"), numbers(7, 9));
    EXPECT_FALSE(fs::exists(folder / "out.jsonl"));
}

TEST_F(Run, ProgressAndStatisticsAreMessages) {
    Ended const ended = copy("--progress --stats");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "");
    expectParts(ended.err, {"20 ticks done in ", "frame storage: "});
    EXPECT_EQ(ended.err.find('\033'), std::string::npos) << "nothing is rewritten where there is no terminal";
}

char const *const dots = R"(nodes:
- {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}", repeat: 4}}
- {type: Constant, outputs: {value: points}, options: {type: "zun::List<zun::Vec2f>", value: [[1, 2]]}}
- {type: DrawPoints, name: dot, inputs: {image: picture, points: points}, outputs: {output: dotted}}
- {type: WriteFrames, inputs: {frames: dotted}, options: {path: "%d.png"}}
)";

TEST_F(Run, ChangesAnOptionFromATickOn) {
    Ended const ended = runOnPhoto(dots, "--change 2:dot.colour=0x0000FF --change 3:dot.colour=0xFF00FF");
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(folder.read("0.png"), folder.read("1.png"));
    EXPECT_NE(folder.read("1.png"), folder.read("2.png"));
    EXPECT_EQ(folder.read("3.png"), folder.read("0.png"));
}

TEST_F(Run, ChangesAConstantWhoseTicksOverlap) {
    folder.write("constant.yaml", R"(nodes:
- {type: Constant, name: seven, outputs: {value: x}, options: {type: int, value: 7}}
- {type: WriteRecords, inputs: {value: x}, options: {path: "-"}}
)");
    for (char const *executor : {"threads --threads 3", "shuffled", "sequential"}) {
        Ended const ended = zun("run constant.yaml --frames 0:5 --change 2:seven.value=8 --change 4:seven.value=9 "
                                "--executor " +
                                    std::string(executor),
                                folder);
        EXPECT_EQ(ended.out + ended.err, "7\n7\n8\n8\n9\n") << executor;
    }
}

TEST_F(Run, ShowsOnRequestWhereANodeFailedInItsSource) {
    expectOneError(runOnPhoto(dots, "--set dot.colour=green"),
                   {"zun: error: node 'dot' (DrawPoints) failed at tick 0", ": Invalid fill colour value: green\n"});
    expectParts(runOnPhoto(dots, "--set dot.colour=green --verbose").err,
                {"[root] error: Invalid fill colour value: green\n"});
}

TEST_F(Run, APhotoThatIsMissingOrBrokenIsOneErrorAndLeavesNoFile) {
    std::string const description = R"(nodes:
- {type: ReadFrames, name: photo, outputs: {rgb: picture}, options: {path: "${photo}"}}
- {type: WriteFrames, inputs: {frames: picture}, options: {path: copy.png}}
)";
    char const *const choice = "--set photo.path=cup.png";
    Names const parts{"'photo' (ReadFrames)", "cup.png"};
    expectOneError(runOnPhoto(description, choice), parts);
    std::string const whole = zun::test::readBytes(photo);
    for (std::string const &bytes :
         {whole.substr(0, whole.size() / 2), std::string("this is a text\n"), std::string()}) {
        folder.write("cup.png", bytes);
        expectOneError(runOnPhoto(description, choice), parts);
    }
    EXPECT_EQ(folder.files(), (Names{"copy.yaml", "cup.png", "in.jsonl", "photo.yaml"}));
}

TEST_F(Run, AValueThatANodeCannotTakeStopsTheRunAndKeepsWhatIsComplete) {
    folder.write("boxes.jsonl", "[0, 0, 10, 10]\n[5, 5, 20, 10]\n[700, 0, 10, 10]\n[0, 0, 5, 5]\n");
    expectOneError(runOnPhoto(R"(nodes:
- {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}", repeat: 0}}
- {type: ReadRecords, outputs: {value: box}, options: {path: boxes.jsonl, type: "zun::Box"}}
- {type: CropAny, name: cut, inputs: {image: picture, box: box}, outputs: {output: cut}}
- {type: WriteFrames, inputs: {frames: cut}, options: {path: cut-%05d.png}}
)"),
                   {"'cut' (CropAny)", "tick 2", "'box'", "700"});
    EXPECT_EQ(folder.files(),
              (Names{"boxes.jsonl", "copy.yaml", "cut-00000.png", "cut-00001.png", "in.jsonl", "photo.yaml"}));
}

} // namespace
} // namespace zun::cli::test
