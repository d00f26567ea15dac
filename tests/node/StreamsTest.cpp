#include <thread>
#include <typeinfo>

#include <gtest/gtest.h>

#include "Probe.h"
#include "support/Failures.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Names = std::set<std::string>;

NodeConfig config(std::map<std::string, std::string> inputs, std::map<std::string, std::string> outputs,
                  std::map<std::string, int> limits = {}) {
    return NodeConfig("Probe", {{"size", pair(1, 2)}}, std::move(inputs), std::move(outputs), std::move(limits));
}

TEST(Streams, KnowThatUnconnectedOutputsHaveALimitButNoName) {
    test::OneNode probe(config({{"image", "a"}}, {{"copy", "c"}}, {{"copy", -5}, {"image", 9}}));
    EXPECT_EQ(probe.node->getInputStreams(), Names{"a"});
    EXPECT_EQ(probe.node->getOutputStreams(), Names{"c"});
    auto const limits = probe.node->getOutputLimits(); // in the order of the table
    ASSERT_EQ(limits.size(), 2u);
    EXPECT_EQ(limits[0].stream, "-");
    EXPECT_EQ(limits[0].limit, 2);
    EXPECT_EQ(limits[1].stream, "c");
    EXPECT_EQ(limits[1].limit, -5);
    EXPECT_EQ(limits[1].reserved, 0);
}

TEST(Streams, BufferSpaceIsTheLeastOfAllOutputs) {
    auto const threads = static_cast<std::int32_t>(std::thread::hardware_concurrency());
    struct {
        int first, second;
        std::uint64_t firstBuffered, secondBuffered;
        std::int32_t space;
        std::vector<std::string> asked;
    } const cases[] = {{0, 0, 5, 5, 0x7fffffff, {}},
                       {0, -3, 5, 1, 2, {"b"}},
                       {-3, 0, 5, 1, -2, {"a"}},
                       {-9, 3, 1, 1, std::min(8, 3 * threads - 1), {"a", "b"}},
                       {-4, -4, 3, 0, 1, {"a", "b"}}};
    for (auto const &[first, second, firstBuffered, secondBuffered, space, asked] : cases) {
        test::OneNode probe(
            config({{"image", "i"}}, {{"options", "a"}, {"copy", "b"}}, {{"options", first}, {"copy", second}}));
        probe.buffered = {{"a", firstBuffered}, {"b", secondBuffered}};
        EXPECT_EQ(probe.node->getOutputBufferSpace(), space) << first << ", " << second;
        EXPECT_EQ(probe.askedFor, asked) << first << ", " << second;
    }
    test::OneNode unconnected(config({{"image", "i"}}, {}));
    EXPECT_EQ(unconnected.node->getOutputBufferSpace(), 2 * threads);
    EXPECT_EQ(unconnected.askedFor, (std::vector<std::string>{"-", "-"}));
}

TEST(Streams, AnotherTypeIsReportedAndReadAllTheSame) {
    test::OneNode probe(config({{"image", "a"}}, {{"copy", "d"}}), -1);
    Mat<signed char, 2> const frame({2, 3}, 7); // laid out like the frame that the node expects
    test::LogLines log;
    auto const written = probe.run({{"a", test::valueOf(frame)}});
    std::vector<std::string> lines{
        "root 4 Pipeline stream type mismatch for stream \"a\" of pass Probe at index -1",
        "root 1 Hint: You can use graphPipeline to check the types of your streams match up ahead of time.",
        "root 1 Hint: Note that the types are, at this point, wrapped in an zun::Variant.",
        "root 1 Expected type: zun::VariantType<zun::Mat<unsigned char, 2, zun::MatOptions<1, 1> > >",
        "root 1 Actual type  : zun::VariantType<zun::Mat<signed char, 2, zun::MatOptions<1, 1> > >"};
    EXPECT_EQ(log.take(), lines);
    EXPECT_EQ(test::held<Grey>(written.at("d")).shape, (Shape<2>{2, 3}));

    EXPECT_THROW(probe.run({{"a", nullptr}}), std::bad_typeid);
    lines.pop_back(); // an empty pointer has no type to name
    EXPECT_EQ(log.take(), lines);
}

} // namespace
} // namespace zun
