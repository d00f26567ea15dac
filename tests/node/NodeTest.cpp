#include <thread>
#include <typeinfo>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "node/Registration.h"
#include "support/Failures.h"
#include "support/OneNode.h"

namespace zun {
namespace {

using test::OneNode, test::Option, test::Options, test::held, test::valueOf;
using Grey = Mat<unsigned char, 2>;
using Names = std::set<std::string>;

/// Has an option of each type, a required and an optional input, and two outputs. A test knows the lines of the rows
/// `image` and `size`.
class Probe : public Node {
    std::string text;
    int number = 0;
    bool flag = false;
    float factor = 0;
    Vec2i size{};
    InputStream<Grey> image;
    InputStream<int> extra;
    OutputStream<std::string> options;
    OutputStream<Variant> copy;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "Probe", .sourcePath = "Probe", .classCode = 1, .parallelCode = 0};
        static constexpr auto inputs = rows(input("image", "zun::Mat<unsigned char, 2>", &Probe::image, ""),
                                            optionalInput("extra", "int", &Probe::extra, ""));
        static constexpr auto outputs = rows(output("options", "std::string", &Probe::options, ""),
                                             output("copy", "any", &Probe::copy, "extra, or else image"));
        static constexpr auto options =
            rows(option("text", "std::string", "0xFF00FF", &Probe::text, ""),
                 option("number", "int", "-10", &Probe::number, ""), option("flag", "bool", "true", &Probe::flag, ""),
                 option("factor", "float", "0.25", &Probe::factor, ""),
                 requiredOption("size", "zun::Vec2i", &Probe::size, ""));
    };

    void process(Tick tick) override {
        require(number != 13, "number != 13", "number ", number, " brings bad luck");
        std::stringstream all;
        all << text << ' ' << number << ' ' << flag << ' ' << factor << ' ' << size[0] << ',' << size[1];
        writeStream(tick, options, all.str());
        if (extra.connected())
            writeStream(tick, copy, readStream(tick, extra));
        else
            writeStream(tick, copy, readStream(tick, image));
    }
};

Registration<Probe> const registration;

TEST(Construction, FailsAtTheFirstFaultInTheStatedOrder) {
    std::string type = "Other";
    Options options{{"number", "ten"}};
    std::map<std::string, std::string> inputs;
    auto const build = [&] {
        NodeConfig const config(type, options, inputs);
        std::unique_ptr<PipelineNode>(NodeRegistry::find("Probe")->factory({nullptr, 0}, config));
    };
    test::expectFailureAt(build, "Attempt to convert OptionNode 'ten' of type std::string to int32_t",
                          "pipeline/config/OptionNode:177");
    options.clear();
    test::expectFailureAt(build, "No value specified for Option \"size\" in a node of type Probe", "Probe:44");
    options["size"] = test::Option(Vec2i{1, 2});
    test::expectFailureAt(build, "No value specified for Input \"image\" in a node of type Probe", "Probe:36");
    inputs["image"] = "grey";
    for (std::string const other : {"Other", "Probe<int>"}) {
        type = other;
        test::expectFailureWithoutLocation(
            build, "Tried to initialise a node of type Probe with the config for a node of type: " + other);
    }
    type = "Probe";
    EXPECT_EQ(test::messageOf(build), "no failure");
}

TEST(Construction, InstancesAreFurtherNodesOfTheSameClass) {
    OneNode probe("Probe", Options{{"size", Vec2i{1, 2}}});
    NodeConfig const other("Probe", Options{{"size", Vec2i{3, 4}}}, {{"image", "there"}});
    std::shared_ptr<PipelineNode> const instance = probe.node->createInstance({&probe, 9}, other);
    EXPECT_EQ(instance->getType(), "Probe");
    EXPECT_EQ(instance->getIndex(), 9);
    EXPECT_EQ(instance->getInputStreams(), Names{"there"});
    EXPECT_EQ(probe.node->getInputStreams(), (Names{"image", "extra"}));
}

std::string fieldsOf(OneNode &probe) {
    return held<std::string>(probe.run({{"image", nullptr}, {"extra", valueOf(1)}}).at("out.options"));
}

TEST(Options, TakeTheirDefaultsOrTheConvertedValue) {
    OneNode defaults("Probe", Options{{"size", Vec2i{1, 2}}});
    EXPECT_EQ(fieldsOf(defaults), "0xFF00FF -10 1 0.25 1,2");
    OneNode given("Probe",
                  Options{{"size", Vec2i{3, -4}}, {"text", 0.5}, {"number", -1.9}, {"flag", 0}, {"factor", 3}});
    EXPECT_EQ(fieldsOf(given), "0.500000 -1 0 3 3,-4");
}

TEST(Options, AreReplacedByValuesOfTheirOwnTypeAlone) {
    OneNode probe("Probe", Options{{"size", Vec2i{1, 2}}});
    VariantType<double> other(1.0);
    VariantType<int> integer(1);
    for (auto const &[name, type] : std::map<std::string, std::string>{
             {"text", "std::string"}, {"number", "int"}, {"flag", "bool"}, {"factor", "float"}, {"size", "zun::Vec2i"}})
        for (Variant *const value : std::initializer_list<Variant *>{&other, &integer})
            if (name != "number" || value == &other)
                test::expectFailureAt([&, option = name] { probe.node->setOption(option, *value); },
                                      "Option " + name + " of Probe is not of type " + type,
                                      "Probe:", "dynamic_cast<zun::VariantType<" + type + "> *>(&value)");
    for (std::string const name : {"Number", "image", ""})
        test::expectFailureAt([&] { probe.node->setOption(name, integer); }, "Unknown Option for Probe: " + name,
                              "Probe:");
    EXPECT_EQ(fieldsOf(probe), "0xFF00FF -10 1 0.25 1,2");

    auto const set = [&]<class T>(char const *name, T value) {
        VariantType<T> variant(value);
        probe.node->setOption(name, variant);
    };
    set("text", std::string("new"));
    set("number", 7);
    set("flag", false);
    set("factor", 1.5f);
    set("size", Vec2i{8, 9});
    EXPECT_EQ(fieldsOf(probe), "new 7 0 1.5 8,9");
}

TEST(Options, ChecksOfANodeFailWithTheirCondition) {
    OneNode probe("Probe", Options{{"size", Vec2i{1, 2}}, {"number", 13}});
    test::expectFailureAt([&] { fieldsOf(probe); }, "number 13 brings bad luck", "Probe:", "number != 13");
}

NodeConfig config(std::map<std::string, std::string> inputs, std::map<std::string, std::string> outputs,
                  std::map<std::string, int> limits = {}) {
    return NodeConfig("Probe", Options{{"size", Vec2i{1, 2}}}, std::move(inputs), std::move(outputs),
                      std::move(limits));
}

TEST(Streams, KnowThatUnconnectedOutputsHaveALimitButNoName) {
    OneNode probe(config({{"image", "a"}}, {{"copy", "c"}}, {{"copy", -5}, {"image", 9}}));
    EXPECT_EQ(probe.node->getInputStreams(), Names{"a"});
    EXPECT_EQ(probe.node->getOutputStreams(), Names{"c"});
    std::vector<std::tuple<std::string, int, int>> limits; // in the order of the table
    for (auto const &one : probe.node->getOutputLimits()) limits.emplace_back(one.stream, one.limit, one.reserved);
    EXPECT_EQ(limits, (decltype(limits){{"-", 2, 0}, {"c", -5, 0}}));
}

TEST(Streams, BufferSpaceIsTheLeastOfAllOutputs) {
    auto const threads = static_cast<std::int32_t>(std::thread::hardware_concurrency());
    using Row = std::tuple<int, int, std::uint64_t, std::uint64_t, std::int32_t, std::vector<std::string>>;
    for (auto const &[first, second, firstBuffered, secondBuffered, space, asked] :
         {Row(0, 0, 5, 5, 0x7fffffff, {}), Row(0, -3, 5, 1, 2, {"b"}), Row(-3, 0, 5, 1, -2, {"a"}),
          Row(-9, 3, 1, 1, std::min(8, 3 * threads - 1), {"a", "b"}), Row(-4, -4, 3, 0, 1, {"a", "b"})}) {
        OneNode probe(
            config({{"image", "i"}}, {{"options", "a"}, {"copy", "b"}}, {{"options", first}, {"copy", second}}));
        probe.buffered = {{"a", firstBuffered}, {"b", secondBuffered}};
        EXPECT_EQ(probe.node->getOutputBufferSpace(), space) << first << ", " << second;
        EXPECT_EQ(probe.askedFor, asked) << first << ", " << second;
    }
    OneNode unconnected(config({{"image", "i"}}, {}));
    EXPECT_EQ(unconnected.node->getOutputBufferSpace(), 2 * threads);
    EXPECT_EQ(unconnected.askedFor, (std::vector<std::string>{"-", "-"}));
}

TEST(Streams, AnotherTypeIsReportedAndReadAllTheSame) {
    OneNode probe(config({{"image", "a"}}, {{"copy", "d"}}), -1);
    Mat<signed char, 2> const frame({2, 3}, 7); // laid out like the frame that the node expects
    test::LogLines log;
    auto const written = probe.run({{"a", valueOf(frame)}});
    std::vector<std::string> lines{
        "root 4 Pipeline stream type mismatch for stream \"a\" of pass Probe at index -1",
        "root 1 Hint: You can use graphPipeline to check the types of your streams match up ahead of time.",
        "root 1 Hint: Note that the types are, at this point, wrapped in an zun::Variant.",
        "root 1 Expected type: zun::VariantType<zun::Mat<unsigned char, 2, zun::MatOptions<1, 1> > >",
        "root 1 Actual type  : zun::VariantType<zun::Mat<signed char, 2, zun::MatOptions<1, 1> > >"};
    EXPECT_EQ(log.take(), lines);
    EXPECT_EQ(held<Grey>(written.at("d")).shape, (Shape<2>{2, 3}));

    EXPECT_THROW(probe.run({{"a", nullptr}}), std::bad_typeid);
    lines.pop_back(); // an empty pointer has no type to name
    EXPECT_EQ(log.take(), lines);
}

} // namespace
} // namespace zun
