#include <gtest/gtest.h>

#include "Probe.h"
#include "support/OneNode.h"

namespace {
zun::Registration<Probe> const registration;
}

namespace zun {
namespace {

TEST(Specification, FollowsFromTheTable) {
    NodeRegistry::Entry const *const entry = NodeRegistry::find("Probe");
    ASSERT_NE(entry, nullptr);
    NodeSpecification const &specification = entry->specification;
    EXPECT_EQ(specification.name, "Probe");
    EXPECT_EQ(specification.classCode, 1);
    EXPECT_EQ(specification.parallelCode, 0);
    EXPECT_EQ(specification.baseType, "PipelineNode");
    EXPECT_TRUE(specification.templates.empty());

    ASSERT_EQ(specification.inputs.size(), 2u);
    auto const &required = specification.inputs.at("image"), &optional = specification.inputs.at("extra");
    EXPECT_EQ(required.type, "zun::Mat<unsigned char, 2>");
    EXPECT_FALSE(required.optional);
    EXPECT_EQ(required.defaultValue, "");
    EXPECT_TRUE(optional.optional);
    EXPECT_EQ(optional.defaultValue, "-");

    ASSERT_EQ(specification.outputs.size(), 2u);
    ASSERT_EQ(specification.options.size(), 5u);
    auto const &size = specification.options.at("size"), &factor = specification.options.at("factor");
    EXPECT_FALSE(size.optional);
    EXPECT_EQ(size.defaultValue, "");
    EXPECT_EQ(size.type, "zun::Vec2i");
    EXPECT_TRUE(factor.optional);
    EXPECT_EQ(factor.defaultValue, "0.25");
    EXPECT_EQ(entry->documentation.options.at("factor"), "a factor");
}

TEST(Specification, IsOneObjectThatIsFilledAgain) {
    NodeSpecification const &first = Framed<Probe>::specification();
    EXPECT_EQ(&first, &Framed<Probe>::specification());
    EXPECT_EQ(first.options.size(), 5u);
}

} // namespace
} // namespace zun
