#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "media/records/RecordText.h"
#include "support/Failures.h"
#include "support/Mutations.h"
#include "support/OneNode.h"
#include "support/Text.h"

namespace zun {

/// Types that a plug-in brings, one of them with a record.
struct Span {
    int begin = 0, end = 0;
};
struct Handle {};

template <>
struct TypeName<Span> {
    static constexpr std::string_view text = "plugin::Span";
};
template <>
struct TypeName<Handle> {
    static constexpr std::string_view text = "plugin::Handle";
};
template <>
struct Record<Span> {
    static Span read(OptionNode const &node, RecordPlace const &place) {
        RecordItems const &items = recordItems(3, node, place, "parts");
        return {Record<int>::read(*items[1], {&place, 1}), Record<int>::read(*items[2], {&place, 2})};
    }
    static void write(Span const &span, RecordSink &sink) {
        sink.beginList();
        sink.write("span");
        Record<int>::write(span.begin, sink);
        Record<int>::write(span.end, sink);
        sink.endList();
    }
};

namespace media {
namespace {

std::string recoded(std::string const &json, std::string const &type) {
    return recordText(*valueOfRecord(parseJson(json), type));
}

TEST(Records, OfEveryKindComeBackAsTheyWere) {
    std::pair<char const *, std::vector<char const *>> const cases[] = {
        {"int", {"-2147483648"}},
        {"bool", {"true", "false"}},
        {"std::string", {R"("a \"b\"\n\\ ü 漢")", "\"[\""}},
        {"zun::Vec2i", {"[3,-4]"}},
        {"zun::Rectf", {"[1.5,-2.25,100.0,1e+20]"}},
        {"zun::Mat<unsigned char, 2>", {"[[0,255],[1,2],[3,4]]", "[]", "[[],[]]"}},
        {"zun::Mat<float, 2>", {R"([[1.0,0.1,-0.0],["NaN","Infinity","-Infinity"]])"}},
        {"zun::Mat<RGBPixel, 2>", {"[[[1,2,3],[4,5,6]]]"}},
        {"zun::Mat<zun::Vec<int, 4>, 1>", {"[[0,1,2,3],[-4,5,6,7]]", "[]"}},
        {"zun::List<std::string>", {R"(["one","two"])", "[]"}},
        {"zun::List<zun::Mask>", {"[[[1,2,3,2],[[0,1,0],[1,0,1]]],[[5,5,0,0],[]]]"}},
        {"zun::List<zun::List<zun::Vec<int, 2>>>", {"[[[1,2],[3,4]],[]]"}},
    };
    for (auto const &[type, records] : cases)
        for (char const *json : records) EXPECT_EQ(recoded(json, type), json) << type;
    forEachTableType([]<class T>(std::type_identity<T>) { static_assert(HasRecord<T>); });
}

TEST(Records, OfPluginsTypesTakePart) {
    valueType<std::vector<Span>>(), valueType<double>(), valueType<Handle>();
    EXPECT_EQ(recoded(R"([["span",1,-2],["span",3,4]])", "zun::List<plugin::Span>"), R"([["span",1,-2],["span",3,4]])");
    EXPECT_EQ(recoded("0.30000000000000004", "double"), "0.30000000000000004");
    auto const record = [](auto value) { return [=] { recordText(VariantType(value)); }; };
    test::expectParts(test::messageOf(record(Handle())), {"type plugin::Handle can't be written as a record"});
    test::expectParts(test::messageOf(record('x')), {"VariantType<char> can't be written as a record"});
    test::expectParts(test::messageOf([] { recoded("1", "plugin::Handle"); }), {"plugin::Handle can't be read"});
}

TEST(Records, KeepEveryBitOfAFloatInItsShortestForm) {
    using Limits = std::numeric_limits<float>;
    std::vector<float> values{0.1f, -0.0f, 16777217.0f, Limits::max(), Limits::min(), Limits::denorm_min(), 1e-40f};
    std::mt19937 random(3);
    while (values.size() < 20000)
        if (auto const value = std::bit_cast<float>(static_cast<std::uint32_t>(random())); std::isfinite(value))
            values.push_back(value);
    for (float const value : values) {
        std::string const json = recordText(VariantType<float>(value));
        float const read = test::held<float>(valueOfRecord(parseJson(json), "float"));
        ASSERT_EQ(std::bit_cast<std::uint32_t>(read), std::bit_cast<std::uint32_t>(value)) << json;
        ASSERT_LE(json.size(), 16u);
    }
    EXPECT_EQ(recoded("10000000000000000000", "float"), "1e+19");
}

TEST(Records, ThatDontFitTellWhereAndWhy) {
    std::array<char const *, 3> const cases[] = {
        {"zun::List<zun::Vec2f>", R"([[1,2],[3,"abc"]])", R"([1][1]: expected a number, found "abc")"},
        {"int", "1.5", "expected a whole number from -2147483648 to 2147483647, found 1.5"},
        {"zun::Mat<unsigned char, 2>", "[[1,2],[3]]", "[1]: expected a list of 2 elements, as in the first row"},
        {"zun::Mat<unsigned char, 2>", "[[256]]", "[0][0]: expected a whole number from 0 to 255, found 256"},
        {"zun::List<zun::Mask>", "[[[0,0,2,1],[[1]]]]", "[0][1]: expected 1 rows of 2 elements"},
        {"zun::Box", "[1,2,3]", "expected a list of 4 numbers: x, y, width, height, found a list of 3"},
        {"int", R"("a\nb")", R"(found "a b")"},
        {"zun::List<zun::Vec2f>", "[[0,-1e39]]", "[0][1]: expected a number that a float holds"},
        {"zun::Mat<float, 2>", "[[1],[2,1e999]]", "[1][1]: the number 1e999 is too large"},
        {"zun::List<int>", "[1,2,null]", "[2]: null is not a value"},
        {"float", "{\"a\":1}", "no objects"},
        {"float", " \r", "there is no value"},
        {"float", "1 2", "not JSON from character"},
        {"float", "[[[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]]]", "nested deeper"},
        {"zun::Lost<int>", "1", "is not a known type of values"},
    };
    for (auto const &[type, json, message] : cases)
        test::expectParts(test::messageOf([&, json = json, type = type] { recoded(json, type); }), {message});
    EXPECT_THROW(parseJson(std::string_view("1\0002", 3)), Exception) << "text goes on after a null character";
    EXPECT_THROW(recordText(VariantType<std::string>("\xff\xfe")), Exception) << "not UTF-8";
    Mat<unsigned char, 2> const wrapped({0xFFFFFFFE, 0xFFFFFFFE}); // of four elements
    EXPECT_THROW(recordText(VariantType<Mat<unsigned char, 2>>(wrapped)), Exception);
}

TEST(Records, OfAnyTextGiveAValueOrAnError) {
    char const *const sound[] = {"[[1,2],[3,4.5e1]]", R"(["a\u00fc",true,null])", "[[[0,0,1,1],[[1]]]]", "{}"};
    std::vector<ValueType const *> const types = valueTypes();
    std::mt19937 random(11);
    int values = 0;
    for (int round = 0; round < 20000; round++) {
        std::string const text = test::mutated(sound[random() % 4], {"[", "]", ",", "\"", "-", "e", "\x80"}, random);
        std::string const &type = types[random() % types.size()]->expression;
        if (test::messageOf([&] { recoded(text, type); }) == "no failure") values++;
    }
    EXPECT_TRUE(values > 100 && values < 19000) << values;
}

} // namespace
} // namespace media
} // namespace zun
