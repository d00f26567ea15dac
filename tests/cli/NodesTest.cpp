#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using Json = nlohmann::json;

TEST(Nodes, AreListedWithThoseOfTheHostAndToldOneByOne) {
    Folder const folder;
    expectParts(zun({"nodes"}, folder).out, {"  ReadFrames ", "  Constant ", "  Crop<Vec3b> ", "  CropAny "});
    Ended const one = zun({"nodes", "Crop<Vec3f>"}, folder);
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
    expectOneError(zun({"nodes", "NegativImage"}, folder), {"did you mean 'NegativeImage'?"});
}

TEST(Nodes, JsonHoldsTheSpecification) {
    Folder const folder;
    EXPECT_GE(Json::parse(zun({"nodes", "--json"}, folder).out).size(), 10u);
    Json const crop = Json::parse(zun({"nodes", "Crop<Vec3b>", "--json"}, folder).out);
    EXPECT_EQ(crop.at("type"), "Crop<Vec3b>");
    EXPECT_EQ(crop.at("inputs").at(1).at("type"), "zun::Mat<T, 2>");
    EXPECT_EQ(crop.at("inputs").at(1).at("optional"), false);
    EXPECT_EQ(crop.at("outputs").at(0).at("limit"), 2);
    EXPECT_EQ(crop.at("options").at(0).at("default"), "false");
    EXPECT_EQ(crop.at("templates").at(0).at("choices").at("Vec3b"), "zun::Vec3b");
}

} // namespace
} // namespace zun::cli::test
