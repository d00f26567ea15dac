#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

TEST(Check, ReportsEveryMistakeInOneGo) {
    Folder const folder;
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
    Ended const ended = zun("check pipeline.yaml", folder);
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
    EXPECT_EQ(graphPipeline("pipeline.yaml", folder).err, findings);
}

TEST(Check, StatesWhatARunHoldsInBytes) {
    Folder const folder;
    folder.write("pipeline.yaml", R"(nodes:
- {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}"}, limits: {rgb: -3}}
- {type: NegativeImage, inputs: {input: picture}, outputs: {output: negative}, limits: {output: -2}}
- {type: WriteFrames, inputs: {frames: negative}, options: {path: negative.png}}
)");
    Ended const ended = zun("check pipeline.yaml -D photo=" + photo, folder);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "pipeline.yaml: no errors, no warnings\n");
    EXPECT_EQ(ended.out, "A run holds at most, waiting on its streams:\n"
                         "  picture   3 values of 720000 bytes\n"
                         "  negative  2 values of 720000 bytes\n"
                         "Together 3600000 bytes (3.4 MiB).\n");
    EXPECT_EQ(folder.files(), Names{"pipeline.yaml"}) << "a check writes nothing";
}

TEST(Check, ADescriptionThatCanNotBeReadIsOneClearError) {
    Folder const folder;
    expectOneError(zun("check /", folder), {"/: error: can't be read: Is a directory"});
    for (std::string const command : {"check", "run"})
        expectOneError(zun(command + " none.yaml", folder), {"none.yaml: error: can't be read: No such file"});
}

TEST(Graph, IsPrintedWithNamesTypesAndPorts) {
    Folder const folder;
    folder.write("pipeline.yaml",
                 "nodes:\n"
                 "- {type: ReadFrames, name: \"the \\\"photo\\\" \\\\ 1\", outputs: {rgb: picture},"
                 " options: {path: \"${photo}\"}}\n"
                 "- {type: Constant, name: box, outputs: {value: box}, options: {type: \"zun::Box\","
                 " value: [1, 2, 3, 4]}}\n"
                 "- {type: CropAny, name: cut, inputs: {image: picture, box: box}, outputs: {output: cut}}\n"
                 "- {type: NegativeImage, name: unread 0, inputs: {input: picture}, outputs: {output: loose}}\n"
                 "- {type: WriteFrames, name: writer, inputs: {frames: cut}, options: {path: cut.png}}\n");
    Ended const ended = graphPipeline("pipeline.yaml -D photo=" + photo, folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, R"dot(digraph pipeline {
    rankdir=LR;
    node [shape=box, style=rounded, fontname="sans-serif"];
    edge [fontname="sans-serif", fontsize=10, labelfontsize=8];
    "the \"photo\" \\ 1" [label="the \"photo\" \\ 1\nReadFrames"];
    "box" [label="box\nConstant"];
    "cut" [label="cut\nCropAny"];
    "unread 0" [label="unread 0\nNegativeImage"];
    "writer" [label="writer\nWriteFrames"];
    "the \"photo\" \\ 1" -> "cut" [label="picture\nzun::Mat<zun::Vec3b, 2>", taillabel="rgb", headlabel="image"];
    "box" -> "cut" [label="box\nzun::Box", taillabel="value", headlabel="box"];
    "the \"photo\" \\ 1" -> "unread 0" [label="picture\nzun::Mat<zun::Vec3b, 2>", taillabel="rgb", headlabel="input"];
    "cut" -> "writer" [label="cut\nany", taillabel="output", headlabel="frames"];
    "unread 0 0" [shape=point];
    "unread 0" -> "unread 0 0" [style=dashed, label="loose\nzun::Mat<zun::Vec3b, 2>", taillabel="output"];
}
)dot");
    EXPECT_NE(ended.err.find("warning"), std::string::npos) << "the unread stream is a finding: " << ended.err;
}

TEST(Nodes, AreListedWithThoseOfTheHostAndToldOneByOne) {
    Folder const folder;
    expectParts(zun("nodes", folder).out, {"  ReadFrames ", "  Constant ", "  Crop<Vec3b> ", "  CropAny "});
    EXPECT_EQ(zun("nodes BOXBLUR", folder).out, "  GreyBoxBlur  Blurs a grey frame by the mean over a box\n"
                                                "  RGBBoxBlur   Blurs a colour frame by the mean over a box\n");
    Ended const one = zun("nodes Crop<Vec3f>", folder);
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(one.out, R"(Crop<Vec3f>: Cuts a rectangle out of a frame of one element type

inputs
  box    zun::Box                 required  the rectangle to cut, in pixels
  image  zun::Mat<zun::Vec3f, 2>  required  the frame

outputs
  output  zun::Mat<zun::Vec3f, 2>  limit 2  the cut, on storage of its own

options
  clamp  bool  default false  true: cut only what lies in the frame; false: repeat the frame's edge outside

in a description
  - type: Crop<Vec3f>
    inputs: {box: ..., image: ...}
    outputs: {output: ...}
    options: {clamp: false}
)");
    expectOneError(zun("nodes NegativImage", folder), {"did you mean 'NegativeImage'?"});
}

TEST(Nodes, JsonHoldsTheSpecification) {
    Folder const folder;
    EXPECT_GE(nlohmann::json::parse(zun("nodes --json", folder).out).size(), 10u);
    auto const crop = nlohmann::json::parse(zun("nodes Crop<Vec3b> --json", folder).out);
    EXPECT_EQ(crop.at("type"), "Crop<Vec3b>");
    EXPECT_EQ(crop.at("inputs").at(1).at("type"), "zun::Mat<T, 2>");
    EXPECT_EQ(crop.at("inputs").at(1).at("optional"), false);
    EXPECT_EQ(crop.at("outputs").at(0).at("limit"), 2);
    EXPECT_EQ(crop.at("options").at(0).at("default"), "false");
    EXPECT_EQ(crop.at("templates").at(0).at("choices").at("Vec3b"), "zun::Vec3b");
}

} // namespace
} // namespace zun::cli::test
