// What a misspelt name most likely means.
#include "pipeline/NearestName.h"

#include <map>

#include <gtest/gtest.h>

namespace zun::test {
namespace {

TEST(NearestName, IsWhatAHumanWouldHaveMeant) {
    std::vector<std::string> const names{"DrawPoints",    "CropAny", "Crop<Vec3b>", "Crop<Vec3f>",
                                         "NegativeImage", "in",      "out",         "colour"};
    for (auto const &[meant, wrongs] :
         std::map<std::string, std::vector<std::string>>{{"Crop<Vec3b>", {"Crop"}},
                                                         {"Crop<Vec3f>", {"crop<vec3f>"}},
                                                         {"DrawPoints", {"DrawPoint"}},
                                                         {"NegativeImage", {"NegatveImgae", "NEGATIVEIMAGE", "Neg"}},
                                                         {"colour", {"color"}},
                                                         {"out", {"uot"}}})
        for (std::string const &wrong : wrongs) EXPECT_EQ(nearestName(wrong, names), meant) << wrong;
    for (char const *const wrong : {"xy", "", "WarpAffine", "radius"})
        EXPECT_EQ(nearestName(wrong, names), std::nullopt) << wrong;
    EXPECT_EQ(nearestName(std::string(100000, 'x'), names), std::nullopt);
    EXPECT_EQ(nearestName("x", {}), std::nullopt);
}

} // namespace
} // namespace zun::test
