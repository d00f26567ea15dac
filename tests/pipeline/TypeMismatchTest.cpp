#include <typeinfo>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "pipeline/TypeMismatch.h"
#include "support/Failures.h"

namespace zun {
namespace {

std::string const bytes = "zun::VariantType<zun::Mat<unsigned char, 2, zun::MatOptions<1, 1> > >";
std::string const floats = "zun::VariantType<zun::Mat<float, 2, zun::MatOptions<1, 1> > >";

TEST(TypeMismatch, IsReportedInFiveLinesWithReadableNames) {
    test::LogLines log;
    VariantType<Mat<float, 2>> actual{Mat<float, 2>()};
    logTypeMismatch("grey", "Blur", -3, typeid(VariantType<Mat<unsigned char, 2>>), &actual);
    EXPECT_EQ(log.take(),
              (std::vector<std::string>{
                  "root 4 Pipeline stream type mismatch for stream \"grey\" of pass Blur at index -3",
                  "root 1 Hint: You can use graphPipeline to check the types of your streams match up ahead of time.",
                  "root 1 Hint: Note that the types are, at this point, wrapped in an zun::Variant.",
                  "root 1 Expected type: " + bytes, "root 1 Actual type  : " + floats}));
}

TEST(TypeMismatch, OfAnEmptyPointerEndsWithBadTypeidAfterFourLines) {
    test::LogLines log;
    EXPECT_THROW(logTypeMismatch("grey", "Blur", 2, typeid(VariantType<int>), nullptr), std::bad_typeid);
    auto const lines = log.take();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[3], "root 1 Expected type: zun::VariantType<int>");
}

} // namespace
} // namespace zun
