#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

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
    Ended const ended = graphPipeline({"pipeline.yaml", "-D", "photo=" + photo.string()}, folder);
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

} // namespace
} // namespace zun::cli::test
