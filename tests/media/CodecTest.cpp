#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <set>

#include "engine/ValueTypes.h"
#include "media/Codec.h"
#include "support/Failures.h"
#include "support/Mutations.h"
#include "support/OneNode.h"
#include "support/Text.h"

namespace zun::media {
namespace {

std::string recoded(std::string const &json, std::string const &type) {
    return encodeValue(*decodeValue(parseJson(json), type));
}

TEST(Records, OfEveryTypeComeBackAsTheyWere) {
    std::pair<char const *, char const *> const cases[] = {
        {"int", "-2147483648"},
        {"float", "0.5"},
        {"bool", "true"},
        {"std::string", R"("a \"b\"\n\\ ü 漢")"},
        {"zun::Vec2i", "[3,-4]"},
        {"zun::Box", "[1.5,-2.25,100.0,0.0]"},
        {"zun::Mat<unsigned char, 2>", "[[0,255],[1,2],[3,4]]"},
        {"zun::Mat<unsigned char, 2>", "[]"},
        {"zun::Mat<unsigned char, 2>", "[[],[]]"},
        {"zun::Mat<float, 2>", R"([[1.0,0.1,-0.0],["NaN","Infinity","-Infinity"]])"},
        {"zun::Mat<RGBPixel, 2>", "[[[1,2,3],[4,5,6]]]"},
        {"zun::Mat<zun::Vec4b, 2>", "[[[1,2,3,4]]]"},
        {"zun::Mat<zun::Vec3f, 2>", "[[[1.0,2.0,3.0]]]"},
        {"zun::Mat<zun::Vec<int, 4>, 1>", "[[0,1,2,3],[-4,5,6,7]]"},
        {"zun::Mat<zun::Vec<int, 4>, 1>", "[]"},
        {"zun::List<int>", "[1,2,3]"},
        {"zun::List<std::string>", R"(["one","two"])"},
        {"zun::List<zun::Vec2f>", "[[1.0,2.0],[3.5,4.25]]"},
        {"zun::List<zun::Rectf>", "[[1.0,2.0,3.0,4.0]]"},
        {"zun::List<zun::Mask>", "[[[1,2,3,2],[[0,1,0],[1,0,1]]],[[5,5,0,0],[]]]"},
        {"zun::List<zun::Mat<unsigned char, 2>>", "[[[1]],[[2,3]]]"},
        {"zun::List<zun::Mat<zun::Vec3b, 2>>", "[[[[1,2,3]]]]"},
        {"zun::List<zun::List<zun::Vec<int, 2>>>", "[[[1,2],[3,4]],[]]"},
    };
    std::set<std::string> covered;
    for (auto const &[type, json] : cases) {
        EXPECT_EQ(recoded(json, type), json) << type;
        covered.insert(engine::canonicalType(type));
    }
    for (engine::ValueType const &type : engine::valueTypes())
        EXPECT_TRUE(covered.contains(type.expression)) << type.expression << " has no case";
}

TEST(Records, KeepEveryBitOfAFloatInItsShortestForm) {
    using Limits = std::numeric_limits<float>;
    std::vector<float> values{0.1f, -0.0f, 16777217.0f, Limits::max(), Limits::min(), Limits::denorm_min(), 1e-40f};
    std::mt19937 random(3);
    while (values.size() < 20000)
        if (auto const value = std::bit_cast<float>(static_cast<std::uint32_t>(random())); std::isfinite(value))
            values.push_back(value);
    for (float const value : values) {
        std::string const json = encodeValue(VariantType<float>(value));
        float const read = test::held<float>(decodeValue(parseJson(json), "float"));
        ASSERT_EQ(std::bit_cast<std::uint32_t>(read), std::bit_cast<std::uint32_t>(value)) << json;
        ASSERT_LE(json.size(), 16u);
    }
}

TEST(Records, ThatDontFitTellWhereAndWhy) {
    struct {
        char const *type, *json, *message;
    } const cases[] = {
        {"zun::List<zun::Vec2f>", R"([[1,2],[3,"abc"]])", R"([1][1]: expected a number, found "abc")"},
        {"zun::List<zun::Vec2f>", "[[1,2],[3]]", "[1]: expected a list of 2 numbers, found a list of 1"},
        {"int", "1.5", "expected a whole number from -2147483648 to 2147483647, found 1.5"},
        {"int", "2147483648", "expected a whole number from -2147483648 to 2147483647, found 2147483648"},
        {"zun::Mat<unsigned char, 2>", "[[1,2],[3]]", "[1]: expected a list of 2 elements, as in the first row"},
        {"zun::Mat<unsigned char, 2>", "[[256]]", "[0][0]: expected a whole number from 0 to 255, found 256"},
        {"zun::Mat<unsigned char, 2>", "[[1],2]", "[1]: expected a list of 1 elements"},
        {"zun::List<zun::Mask>", "[[[0,0,2,1],[[1]]]]", "[0][1]: expected 1 rows of 2 elements"},
        {"zun::Box", "[1,2,3]", "expected a list of 4 numbers: x, y, width, height, found a list of 3"},
        {"bool", "1", "expected true or false, found 1"},
        {"std::string", "[1]", "expected a text in quotes, found a list of 1"},
        {"int", R"("a\nb")", R"(found "a\nb")"},
        {"int", "10000000000000000000", "found 10000000000000000000"},
        {"zun::List<zun::Vec2f>", "[[0,-1e39]]", "[0][1]: expected a number that a float holds"},
        {"zun::Mat<float, 2>", "[[1],[2,1e999]]", "[1][1]: the number 1e999 is too large"},
        {"zun::Vec2i", "\"x\"", "expected a list of 2 numbers"},
        {"float", "null", "null is no value"},
        {"zun::List<int>", "[1,2,null]", "[2]: null is no value"},
        {"float", "{\"a\":1}", "no objects"},
        {"float", "", "there is no value"},
        {"float", " \r", "there is no value"},
        {"float", "1 2", "no JSON"},
        {"float", "[1", "no JSON"},
        {"float", "[[[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]]]", "nested deeper"},
        {"zun::Lost<int>", "1", "is no type of values"},
    };
    for (auto const &[type, json, message] : cases)
        test::expectParts(test::messageOf([&, json = json, type = type] { recoded(json, type); }), {message});
    EXPECT_THROW(parseJson(std::string_view("1\0002", 3)), Exception) << "text goes on behind a null character";
    EXPECT_THROW(encodeValue(VariantType<std::string>("\xff\xfe")), Exception) << "no UTF-8";
}

TEST(Records, OfAFloatTakeWholeNumbersOfAnySize) {
    EXPECT_EQ(recoded("10000000000000000000", "float"), "1e+19");
    EXPECT_EQ(recoded("-7", "float"), "-7.0");
}

TEST(Records, OfAnyTextGiveAValueOrAnError) {
    std::string const sound[] = {"[[1,2],[3,4.5e1]]", R"(["a\u00fc",true,null])", "[[[0,0,1,1],[[1]]]]", "-1e999",
                                 "{}"};
    std::vector<std::string> const signs{"[", "]", ",", ":", "\"", "\\", "0", "-", ".", "e", "null", " ", "\x80"};
    std::mt19937 random(11);
    int values = 0, errors = 0;
    for (int round = 0; round < 20000; round++) {
        auto const &types = engine::valueTypes();
        std::string const text = test::mutated(sound[random() % std::size(sound)], signs, random);
        bool const fits =
            test::messageOf([&] { recoded(text, types[random() % types.size()].expression); }) == "no failure";
        (fits ? values : errors)++;
    }
    EXPECT_GT(values, 100);
    EXPECT_GT(errors, 1000);
}

} // namespace
} // namespace zun::media
