#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

TEST(Check, ReportsEveryMistakeInOneGo) {
    Folder const folder;
    fs::copy(photo, folder.path / "cup.png");
    folder.write("pipeline.yaml", R"(nodes:
  - {type: ReadFrames, name: photo, outputs: {rgb: picture}, options: {pth: cup.png, path: cup.png}}
  - {type: NegativImage, name: negative, inputs: {input: picture}, outputs: {output: inverted}}
  - type: DrawPoints
    name: dots
    inputs: {imgae: inverted, points: nowhere}
    outputs: {output: dotted}
    options: {colour: [1, 2]}
  - {type: Crop<Vec3f>, name: cut, inputs: {image: dotted, box: box}, outputs: {output: cut}, options: {clamp: "yes"}}
  - {type: Constant, name: box, outputs: {value: box}, options: {type: "zun::Box", value: [0, 0, 5, 5]}}
  - {type: WriteFrames, name: writer, inputs: {frames: cut}}
)");
    Ended const ended = zun({"check", "pipeline.yaml"}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    std::string const findings =
        R"(pipeline.yaml:2:72: error: node 'photo' (ReadFrames) has no option 'pth'; did you mean 'path'?
pipeline.yaml:3:12: error: node 'negative' (NegativImage) has an unknown type; did you mean 'NegativeImage'?
pipeline.yaml:6:14: error: node 'dots' (DrawPoints) has no input 'imgae'; did you mean 'image'?
pipeline.yaml:6:31: error: node 'dots' (DrawPoints) reads stream 'nowhere' at input 'points', but no node writes it; )"
        R"(known are 'picture', 'inverted', 'dotted', 'box', 'cut'
pipeline.yaml:8:15: error: node 'dots' (DrawPoints) takes std::string as option 'colour', not '[1, 2]' of type vector; )"
        R"(write a text, in quotes
pipeline.yaml:9:45: error: node 'cut' (Crop<Vec3f>) takes zun::Mat<zun::Vec3f, 2> at input 'image', but stream )"
        R"('dotted' carries zun::Mat<RGBPixel, 2> from output 'output' of node 'dots' (DrawPoints) at pipeline.yaml:7:15
pipeline.yaml:9:105: error: node 'cut' (Crop<Vec3f>) takes bool as option 'clamp', not 'yes' of type std::string; )"
        R"(write true or false
pipeline.yaml:11:5: error: node 'writer' (WriteFrames) needs option 'path', of type std::string
)";
    EXPECT_EQ(ended.err, findings + "pipeline.yaml: 8 errors, no warnings\n");
    EXPECT_EQ(graphPipeline({"pipeline.yaml"}, folder).err, findings);
}

TEST(Check, StatesWhatARunHoldsInBytes) {
    Folder const folder;
    folder.write("pipeline.yaml", R"(nodes:
- {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}"}, limits: {rgb: -3}}
- {type: NegativeImage, inputs: {input: picture}, outputs: {output: negative}, limits: {output: -2}}
- {type: WriteFrames, inputs: {frames: negative}, options: {path: negative.png}}
)");
    Ended const ended = zun({"check", "pipeline.yaml", "-D", "photo=" + photo.string()}, folder);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "pipeline.yaml: no errors, no warnings\n");
    EXPECT_EQ(ended.out, "A run holds at most, waiting on its streams:\n"
                         "  picture   3 values of 720000 bytes\n"
                         "  negative  2 values of 720000 bytes\n"
                         "Together 3600000 bytes (3.4 MiB).\n");
    EXPECT_EQ(folder.files(), Arguments{"pipeline.yaml"}) << "a check writes nothing";
}

TEST(Check, ADescriptionThatCanNotBeReadIsOneClearError) {
    Folder const folder;
    expectOneError(zun({"check", "/"}, folder), {"/: error: can't be read: Is a directory"});
    for (char const *command : {"check", "run"})
        expectOneError(zun({command, "none.yaml"}, folder), {"none.yaml: error: can't be read: No such file"});
}

} // namespace
} // namespace zun::cli::test
