#include "pipeline/types/ValueType.h"

#include <gtest/gtest.h>

#include "support/Frames.h"
#include "support/OneNode.h"

namespace zun {
namespace {

using test::held;
using test::valueOf;
using Grey = Mat<unsigned char, 2>;
using Colour = Mat<Vec3b, 2>;

TEST(TypeExpression, SpellingsOfOneTypeAgree) {
    for (auto const &[a, b, agree] :
         {std::tuple("zun::Mat<RGBPixel, 2>", "zun::Mat<zun::Vec3b,2>", true),
          {"zun::List<zun::Box>", "zun::List< zun::Rectf >", true},
          {"zun::List<zun::List<zun::Vec<int, 2>>>", "zun::List<zun::List<zun::Vec2i> >", true},
          {"zun::Mat<unsigned  char, 2>", "zun::Mat<unsigned char, 2>", true},
          {"any", "zun::Box", true},
          {"zun::Mat<zun::Vec3b, 2>", "zun::Mat<zun::Vec3f, 2>", false},
          {"unsigned char", "unsignedchar", false},
          {"zun::Mat<zun::Vec3b, 2>", "zun::Mat<any, 2>", false},
          {"int", "float", false}}) {
        EXPECT_EQ(typesAgree(a, b), agree) << a << " and " << b;
        EXPECT_EQ(typesAgree(b, a), agree) << b << " and " << a;
    }
}

TEST(TypeExpression, TextThatIsNoneComesBackAsItIs) {
    std::string nested;
    for (int i = 0; i < 100000; i++) nested += "a<";
    for (std::string const &text : std::vector<std::string>{"", "zun::Mat<", "a<b>c", "a<>", "a,  b", "zun::Vec3b>",
                                                            "a" + std::string(100000, '<'), nested})
        EXPECT_EQ(canonicalType(text), text);
}

TEST(ValueTypes, OfAPluginAreWholeOnceAPortNamesThem) {
    using Doubles = Mat<double, 2>;
    EXPECT_EQ(valueTypeNamed("zun::Mat<double, 2>"), nullptr);
    ValueType const *const type = valueType<Doubles>();
    EXPECT_EQ(type, valueTypeNamed("zun::Mat< double,2 >"));
    auto const value = valueOf(Doubles({2, 3}, 0.5));
    EXPECT_EQ(type, valueTypeOf(*value));
    EXPECT_EQ(type->bytes(*value), 48u);
    EXPECT_NE(held<Doubles>(type->copy(*value)).first(), held<Doubles>(value).first());
    auto const row = OptionNode::ofVector({OptionNode::ofFloat(0.1), OptionNode::ofInt(2)});
    EXPECT_EQ(held<Doubles>(type->readRecord(OptionNode::ofVector({row}))).first()[0], 0.1);
}

TEST(ValueTypes, CountWhatValuesHold) {
    std::uint64_t const list = sizeof(std::vector<int>), text = sizeof(std::string);
    for (auto const &[value, bytes] :
         {std::pair(valueOf(7), std::uint64_t(4)),
          {valueOf(Box()), 16},
          {valueOf(Colour({3, 4})), 36},
          {valueOf(Colour()), 0},
          {valueOf(std::vector<std::string>{"abc", ""}), list + 2 * text + 3},
          {valueOf(std::vector<Grey>{Grey({2, 5}), Grey({1, 1})}), list + 2 * sizeof(Grey) + 11},
          {valueOf(std::vector<std::vector<Vec2i>>{{{1, 2}, {3, 4}}, {}}), 3 * list + 16}})
        EXPECT_EQ(valueTypeOf(*value)->bytes(*value), bytes) << valueTypeOf(*value)->expression;
    EXPECT_EQ(valueTypeNamed("zun::Box")->fixedBytes, 16u);
    EXPECT_EQ(valueTypeNamed("zun::List<int>")->fixedBytes, 0u);
}

Grey const &frameOf(Grey const &frame) { return frame; }
Grey const &frameOf(std::vector<Grey> const &frames) { return frames[1]; }
Grey const &frameOf(std::vector<Mask> const &masks) { return masks[0].mask; }

/// A value of one frame that has a header elsewhere, too: it isn't the frame's sole owner, and its copy is.
template <class T>
void expectSharedUntilCopied(T shared) {
    auto const value = valueOf(shared);
    ValueType const &type = *valueTypeOf(*value);
    EXPECT_FALSE(type.soleOwner(*value));
    auto const copy = type.copy(*value);
    EXPECT_TRUE(type.soleOwner(*copy));
    EXPECT_NE(frameOf(held<T>(copy)).first(), frameOf(shared).first());
    EXPECT_EQ(test::elements(frameOf(held<T>(copy))), test::elements(frameOf(shared)));
}

TEST(ValueTypes, TellWhetherAFrameIsSharedAndCopyIt) {
    Grey const kept({2, 2}, 5);
    expectSharedUntilCopied(kept);
    expectSharedUntilCopied(std::vector{Grey(), kept});
    expectSharedUntilCopied(std::vector{Mask{{1, 2, 2, 2}, kept}});
    Grey owned = kept.clone();
    owned.owner = std::make_shared<int>(1);
    auto const value = valueOf(std::move(owned));
    EXPECT_FALSE(valueTypeOf(*value)->soleOwner(*value));
}

} // namespace
} // namespace zun
