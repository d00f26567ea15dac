#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using Json = nlohmann::json;

TEST(Nodes, ListHasHostNodesAndThePlugIns) {
    Folder const folder;
    Ended const ended = zun({"nodes"}, folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    for (char const *type : {"ReadFrames", "WriteFrames", "ReadRecords", "WriteRecords", "Constant", "NegativeImage",
                             "DrawPoints", "Crop<Vec3b>", "Crop<Vec3f>", "CropAny"})
        EXPECT_NE(ended.out.find("  " + std::string(type) + " "), std::string::npos) << type << '\n' << ended.out;
}

TEST(Nodes, OneTypeIsToldWithStreamsOptionsDefaultsAndUse) {
    Folder const folder;
    Ended const ended = zun({"nodes", "DrawPoints"}, folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    for (char const *part : {"zun::Mat<RGBPixel, 2>", "zun::List<zun::Vec2f>", "limit 2", "default 0xFF00FF",
                             "  - type: DrawPoints\n    inputs: {image: ..., points: ...}\n    outputs: {output: ...}\n"
                             "    options: {colour: 0xFF00FF}\n"})
        EXPECT_NE(ended.out.find(part), std::string::npos) << part << '\n' << ended.out;
}

TEST(Nodes, TheParameterOfATemplateIsFilledIn) {
    Folder const folder;
    Ended const ended = zun({"nodes", "Crop<Vec3f>"}, folder);
    EXPECT_NE(ended.out.find("zun::Mat<zun::Vec3f, 2>"), std::string::npos) << ended.out;
    EXPECT_EQ(ended.out.find("<T,"), std::string::npos) << ended.out;
}

TEST(Nodes, JsonHoldsTheSpecification) {
    Folder const folder;
    Json const all = Json::parse(zun({"nodes", "--json"}, folder).out);
    ASSERT_TRUE(all.is_array());
    EXPECT_GE(all.size(), 10u);

    Json const crop = Json::parse(zun({"nodes", "Crop<Vec3b>", "--json"}, folder).out);
    EXPECT_EQ(crop.at("type"), "Crop<Vec3b>");
    EXPECT_EQ(crop.at("inputs").at(1).at("type"), "zun::Mat<T, 2>");
    EXPECT_EQ(crop.at("inputs").at(1).at("optional"), false);
    EXPECT_EQ(crop.at("outputs").at(0).at("limit"), 2);
    EXPECT_EQ(crop.at("options").at(0).at("default"), "false");
    EXPECT_EQ(crop.at("templates").at(0).at("choices").at("Vec3b"), "zun::Vec3b");
}

TEST(Nodes, AnUnknownTypeGetsTheNearestName) {
    Folder const folder;
    Ended const ended = zun({"nodes", "NegativImage"}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_NE(ended.err.find("did you mean 'NegativeImage'?"), std::string::npos) << ended.err;
}

} // namespace
} // namespace zun::cli::test
