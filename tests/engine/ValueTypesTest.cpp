#include "engine/ValueTypes.h"

#include <set>

#include <gtest/gtest.h>

#include "support/OneNode.h"

namespace zun::engine {
namespace {

using zun::test::held;
using zun::test::valueOf;
using Grey = Mat<unsigned char, 2>;
using Colour = Mat<Vec3b, 2>;

TEST(TypeExpression, SpellingsOfOneTypeAgree) {
    for (auto const &[a, b] : {std::pair("zun::Mat<RGBPixel, 2>", "zun::Mat<zun::Vec3b,2>"),

                               {"zun::List<zun::Box>", "zun::List< zun::Rectf >"},
                               {"zun::List<zun::List<zun::Vec<int, 2>>>", "zun::List<zun::List<zun::Vec2i> >"},
                               {"zun::Mat<unsigned  char, 2>", "zun::Mat<unsigned char, 2>"},
                               {"any", "zun::Box"}}) {
        EXPECT_TRUE(typesAgree(a, b)) << a << " and " << b;
        EXPECT_TRUE(typesAgree(b, a)) << a << " and " << b;
    }
    for (auto const &[a, b] : {std::pair("zun::Mat<zun::Vec3b, 2>", "zun::Mat<zun::Vec3f, 2>"),
                               {"unsigned char", "unsignedchar"},
                               {"zun::Mat<zun::Vec3b, 2>", "zun::Mat<any, 2>"},
                               {"int", "float"}})
        EXPECT_FALSE(typesAgree(a, b)) << a << " and " << b;
}

TEST(TypeExpression, TextThatIsNoneComesBackAsItIs) {
    std::string const deep(100000, '<');
    for (std::string const &text : {std::string(""), std::string("zun::Mat<"), std::string("a<b>c"), std::string("a<>"),
                                    std::string("a,  b"), std::string("zun::Vec3b>"), "a" + deep})
        EXPECT_EQ(canonicalType(text), text);
    std::string nested;
    for (int i = 0; i < 100000; i++) nested += "a<";
    EXPECT_EQ(canonicalType(nested), nested);
}

TEST(ValueTypes, AreFoundByValueAndByName) {
    std::set<std::string> expressions;
    for (ValueType const &type : valueTypes()) {
        expressions.insert(type.expression);
        EXPECT_EQ(valueTypeNamed(type.expression), &type);
        EXPECT_EQ(valueTypeNamed(type.spelling), &type);
    }
    EXPECT_EQ(expressions.size(), valueTypes().size());
    EXPECT_EQ(valueTypeOf(*valueOf(Colour())), valueTypeNamed("zun::Mat<RGBPixel, 2>"));
    EXPECT_EQ(valueTypeOf(*valueOf(Box())), valueTypeNamed("zun::Rectf"));
    EXPECT_EQ(valueTypeOf(*valueOf(std::vector<std::vector<Vec2i>>())),
              valueTypeNamed("zun::List<zun::List<zun::Vec<int, 2>>>"));
    EXPECT_EQ(valueTypeOf(*valueOf(2.5)), nullptr);
    EXPECT_EQ(valueTypeNamed("any"), nullptr);
}

std::uint64_t bytesOf(std::shared_ptr<Variant> const &value) { return valueTypeOf(*value)->bytes(*value); }

TEST(ValueTypes, CountWhatValuesHold) {
    EXPECT_EQ(bytesOf(valueOf(7)), 4u);
    EXPECT_EQ(bytesOf(valueOf(true)), 1u);
    EXPECT_EQ(bytesOf(valueOf(Box())), 16u);
    EXPECT_EQ(bytesOf(valueOf(Colour({3, 4}))), 36u);
    EXPECT_EQ(bytesOf(valueOf(Colour())), 0u);
    EXPECT_EQ(bytesOf(valueOf(std::string("abc"))), sizeof(std::string) + 3);
    EXPECT_EQ(bytesOf(valueOf(std::vector<std::string>{"abc", ""})),
              sizeof(std::vector<int>) + 2 * sizeof(std::string) + 3);
    EXPECT_EQ(bytesOf(valueOf(std::vector<Grey>{Grey({2, 5}), Grey({1, 1})})),
              sizeof(std::vector<int>) + 2 * sizeof(Grey) + 11);
    EXPECT_EQ(bytesOf(valueOf(std::vector<std::vector<Vec2i>>{{{1, 2}, {3, 4}}, {}})),
              3 * sizeof(std::vector<int>) + 16);
    EXPECT_EQ(valueTypeNamed("zun::Box")->fixedBytes, 16u);
    EXPECT_EQ(valueTypeNamed("std::string")->fixedBytes, 0u);
    EXPECT_EQ(valueTypeNamed("zun::List<int>")->fixedBytes, 0u);
}

TEST(ValueTypes, CopiesShareNoStorage) {
    auto const frames = valueOf(std::vector<Grey>{Grey({2, 2}, 5), Grey()});
    auto const masks = valueOf(std::vector<Mask>{{{1, 2, 3, 1}, Grey({1, 3}, 9)}});
    auto const frame = valueOf(Grey({4, 4}, 3));
    auto const frameCopy = valueTypeOf(*frame)->copy(*frame), framesCopy = valueTypeOf(*frames)->copy(*frames),
               masksCopy = valueTypeOf(*masks)->copy(*masks);
    held<Grey>(frame).first()[5] = 0;
    held<std::vector<Grey>>(frames)[0].first()[3] = 0;
    held<std::vector<Mask>>(masks)[0].mask.first()[2] = 0;
    EXPECT_EQ(held<Grey>(frameCopy).first()[5], 3);
    EXPECT_EQ(held<std::vector<Grey>>(framesCopy)[0].first()[3], 5);
    EXPECT_EQ(held<std::vector<Grey>>(framesCopy)[1].count, 0u);
    EXPECT_EQ(held<std::vector<Mask>>(masksCopy)[0].mask.first()[2], 9);
    EXPECT_EQ(held<std::vector<Mask>>(masksCopy)[0].rectangle, (Rect<int>{1, 2, 3, 1}));
    auto const text = valueOf(std::string("abc"));
    EXPECT_EQ(held<std::string>(valueTypeOf(*text)->copy(*text)), "abc");
}

TEST(ValueTypes, TellWhetherAnotherHeaderSharesAFrame) {
    auto const isSole = [](std::shared_ptr<Variant> const &value) { return valueTypeOf(*value)->soleOwner(*value); };
    Grey const kept({2, 2});
    EXPECT_TRUE(isSole(valueOf(Grey({2, 2}))));
    EXPECT_TRUE(isSole(valueOf(Grey())));
    std::vector<Grey> two(2);
    for (Grey &frame : two) frame = Grey({2, 2});
    EXPECT_TRUE(isSole(valueOf(std::move(two))));
    EXPECT_TRUE(isSole(valueOf(std::string("abc"))));
    EXPECT_FALSE(isSole(valueOf(kept)));
    EXPECT_FALSE(isSole(valueOf(std::vector<Grey>{Grey({2, 2}), kept})));
    EXPECT_FALSE(isSole(valueOf(std::vector<Mask>{{{0, 0, 2, 2}, kept}})));
    Grey owned({2, 2});
    owned.owner = std::make_shared<int>(1);
    EXPECT_FALSE(isSole(valueOf(std::move(owned))));
}

} // namespace
} // namespace zun::engine
