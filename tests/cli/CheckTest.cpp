#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

char const *const eightMistakes = R"(nodes:
  - type: ReadFrames
    name: photo
    outputs: {rgb: picture}
    options: {pth: cup.png, path: cup.png}
  - type: NegativImage
    name: negative
    inputs: {input: picture}
    outputs: {output: inverted}
  - type: DrawPoints
    name: dots
    inputs: {imgae: inverted, points: nowhere}
    outputs: {output: dotted}
    options: {colour: [1, 2]}
  - type: Crop<Vec3f>
    name: cut
    inputs: {image: dotted, box: box}
    outputs: {output: cut}
    options: {clamp: "yes"}
  - type: Constant
    name: box
    outputs: {value: box}
    options: {type: "zun::Box", value: [0, 0, 5, 5]}
  - type: WriteFrames
    name: writer
    inputs: {frames: cut}
)";

TEST(Check, ReportsEightMistakesInOneGo) {
    Folder const folder;
    fs::copy(photo, folder.path / "cup.png");
    folder.write("pipeline.yaml", eightMistakes);
    Ended const ended = zun({"check", "pipeline.yaml"}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    struct {
        char const *place, *says;
    } const mistakes[] = {
        {"pipeline.yaml:5:15: error: ", "no option 'pth'; did you mean 'path'?"},
        {"pipeline.yaml:6:11: error: ", "did you mean 'NegativeImage'?"},
        {"pipeline.yaml:12:14: error: ", "no input 'imgae'; did you mean 'image'?"},
        {"pipeline.yaml:12:31: error: ", "reads stream 'nowhere' at input 'points', but no node writes it"},
        {"pipeline.yaml:14:15: error: ", "option 'colour'"},
        {"pipeline.yaml:17:14: error: ", "zun::Mat<zun::Vec3f, 2>"},
        {"pipeline.yaml:19:15: error: ", "option 'clamp', not 'yes' of type std::string"},
        {"pipeline.yaml:24:5: error: ", "option 'path'"},
    };
    for (auto const &[place, says] : mistakes) {
        std::size_t const at = ended.err.find(place);
        ASSERT_NE(at, std::string::npos) << place << '\n' << ended.err;
        std::string const line = ended.err.substr(at, ended.err.find('\n', at) - at);
        EXPECT_NE(line.find(says), std::string::npos) << says << '\n' << line;
    }
    EXPECT_NE(ended.err.find("pipeline.yaml: 8 errors, no warnings\n"), std::string::npos) << ended.err;
    EXPECT_EQ(graphPipeline({"pipeline.yaml"}, folder).err + "pipeline.yaml: 8 errors, no warnings\n", ended.err);
}

TEST(Check, StatesWhatARunHoldsInBytes) {
    Folder const folder;
    folder.write("pipeline.yaml", "nodes:\n"
                                  "- {type: ReadFrames, outputs: {rgb: picture}, options: {path: \"${photo}\"},"
                                  " limits: {rgb: -3}}\n"
                                  "- {type: NegativeImage, inputs: {input: picture}, outputs: {output: negative},"
                                  " limits: {output: -2}}\n"
                                  "- {type: WriteFrames, inputs: {frames: negative}, options: {path: negative.png}}\n");
    Ended const ended = zun({"check", "pipeline.yaml", "-D", "photo=" + photo.string()}, folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.err, "pipeline.yaml: no errors, no warnings\n");
    EXPECT_NE(ended.out.find("picture   3 values of 720000 bytes"), std::string::npos) << ended.out;
    EXPECT_NE(ended.out.find("negative  2 values of 720000 bytes"), std::string::npos) << ended.out;
    EXPECT_NE(ended.out.find("Together 3600000 bytes (3.4 MiB)."), std::string::npos) << ended.out;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"pipeline.yaml"}) << "a check writes nothing";
}

TEST(Check, ADescriptionThatIsMissingIsOneClearError) {
    Folder const folder;
    for (char const *command : {"check", "run"}) {
        Ended const ended = zun({command, "none.yaml"}, folder);
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(occurrences(ended.err, "error:"), 1u) << ended.err;
        EXPECT_NE(ended.err.find("none.yaml"), std::string::npos) << ended.err;
        EXPECT_NE(ended.err.find("No such file"), std::string::npos) << ended.err;
    }
}

} // namespace
} // namespace zun::cli::test
