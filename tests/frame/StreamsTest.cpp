#include <thread>
#include <typeinfo>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "support/Failures.h"
#include "support/OneNode.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Names = std::set<std::string>;

std::map<std::string, OptionNode> options() {
    return {{"size", OptionNode::ofVector({OptionNode::ofInt(1), OptionNode::ofInt(2)})}};
}

NodeConfig config(std::map<std::string, std::string> inputs, std::map<std::string, std::string> outputs,
                  std::map<std::string, int> limits = {}) {
    return NodeConfig("Probe", options(), std::move(inputs), std::move(outputs), std::move(limits));
}

TEST(Streams, NameWhatIsConnected) {
    test::OneNode all(config({{"image", "a"}, {"extra", "b"}}, {{"options", "c"}, {"copy", "d"}}));
    EXPECT_EQ(all.node->getInputStreams(), (Names{"a", "b"}));
    EXPECT_EQ(all.node->getOutputStreams(), (Names{"c", "d"}));
    EXPECT_EQ(&all.node->getInputStreams(), &all.node->getInputStreams());

    test::OneNode few(config({{"image", "a"}}, {{"copy", "-"}}));
    EXPECT_EQ(few.node->getInputStreams(), Names{"a"});
    EXPECT_EQ(few.node->getOutputStreams(), Names{});
    EXPECT_EQ(few.node->getOutputStreams(), Names{});
}

TEST(Streams, LimitsKeepUnconnectedOutputsInTableOrder) {
    test::OneNode probe(config({{"image", "a"}}, {{"copy", "c"}}, {{"copy", -5}, {"image", 9}}));
    auto const limits = probe.node->getOutputLimits();
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
    } const cases[] = {
        {0, 0, 5, 5, 0x7fffffff, {}},  {0, -3, 5, 1, 2, {"b"}},
        {-3, 0, 5, 1, -2, {"a"}},      {-9, 3, 1, 1, std::min(8, 3 * threads - 1), {"a", "b"}},
        {-4, -4, 3, 0, 1, {"a", "b"}},
    };
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

TEST(Streams, ReadsShareAFramesStorageAndOptionalInputsAreReadIfConnected) {
    Grey const frame({2, 2}, 7);
    test::OneNode probe(config({{"image", "a"}}, {{"copy", "d"}}));
    auto const written = probe.run({{"a", test::valueOf(frame)}});
    EXPECT_EQ(test::held<Grey>(written.at("d")).first(), frame.first());
    EXPECT_EQ(written.count("-"), 1u) << "a write to an output that is not connected is the framework's to drop";

    test::OneNode both(config({{"image", "a"}, {"extra", "b"}}, {{"copy", "d"}}));
    EXPECT_EQ(test::held<int>(both.run({{"a", test::valueOf(frame)}, {"b", test::valueOf(5)}}).at("d")), 5);
}

TEST(Streams, AnotherTypeIsReportedAndReadAllTheSame) {
    test::OneNode probe(config({{"image", "a"}}, {{"copy", "d"}}), -1);
    Mat<signed char, 2> const frame({2, 3}, 7); // laid out like the frame that the node expects
    test::LogLines log;
    auto const written = probe.run({{"a", test::valueOf(frame)}});
    auto const lines = log.take();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "root 4 Pipeline stream type mismatch for stream \"a\" of pass Probe at index -1");
    EXPECT_EQ(lines[3], "root 1 Expected type: zun::VariantType<zun::Mat<unsigned char, 2, zun::MatOptions<1, 1> > >");
    EXPECT_EQ(lines[4], "root 1 Actual type  : zun::VariantType<zun::Mat<signed char, 2, zun::MatOptions<1, 1> > >");
    EXPECT_EQ(test::held<Grey>(written.at("d")).shape, (Shape<2>{2, 3}));
}

TEST(Streams, AnEmptyPointerEndsInBadTypeid) {
    test::OneNode probe(config({{"image", "a"}}, {}));
    test::LogLines log;
    EXPECT_THROW(probe.run({{"a", nullptr}}), std::bad_typeid);
    EXPECT_EQ(log.take().size(), 4u);
}

} // namespace
} // namespace zun
