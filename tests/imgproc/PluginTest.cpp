#include <fstream>
#include <sstream>

#include "ImgprocNode.h"

namespace zun::test {
namespace {

/// A line for each port or option: its type, then "required" or its default.
template <class Records>
void show(std::ostream &out, char const *kind, Records const &records) {
    for (auto const &[name, record] : records) {
        EXPECT_EQ(record.name, name);
        out << "\n " << kind << " " << name << ": " << record.type;
        out << (record.optional ? " = " + record.defaultValue : record.defaultValue + " required");
        if constexpr (requires { record.internal; }) {
            EXPECT_FALSE(record.internal || static_cast<int>(record.streamType));
        }
        if constexpr (requires { record.limit; }) {
            EXPECT_EQ(record.limit, 2);
        }
    }
}

void build(std::string const &type, NodeConfig const &config) {
    loadLibrary(ZUN_IMGPROC);
    std::unique_ptr<PipelineNode>(NodeRegistry::find(type)->factory({nullptr, 0}, config));
}

/// What the log says of a node that was given nothing, without the number of the line.
std::string failureOfNothing(std::string const &type) {
    LogLines log;
    messageOf([&] { build(type, NodeConfig(type, {}, {})); });
    std::vector<std::string> const lines = log.take();
    return lines.empty() ? "no failure" : lines[0].substr(0, lines[0].find_last_not_of("0123456789"));
}

std::string show(NodeRegistry::Entry const &entry) {
    NodeSpecification const &about = entry.specification;
    EXPECT_EQ(entry.library, ZUN_IMGPROC);
    EXPECT_NE(entry.documentation.summary, "") << entry.type;
    std::ostringstream out;
    out << entry.type << ": " << about.name << ", " << about.baseType << ", class code " << about.classCode
        << ", parallel code " << about.parallelCode;
    for (auto const &[kind, parameter, choices] : about.templates)
        for (auto const &[choice, type] : choices)
            out << "\n " << kind << " " << parameter << ": " << choice << " is " << type;
    out << "\n given nothing: " << failureOfNothing(entry.type);
    show(out, "input", about.inputs);
    show(out, "output", about.outputs);
    show(out, "option", about.options);
    return out.str();
}

TEST(Plugin, SpecifiesItsTypesLetterByLetterInTheOrderOfTheirRegistration) {
    loadLibrary(ZUN_IMGPROC);
    std::ifstream file(ZUN_SPECIFICATIONS); // a line for each type, with ";" between its records
    std::string expected;
    for (auto const *entry : NodeRegistry::entries()) {
        std::getline(file, expected);
        std::ranges::replace(expected, ';', '\n');
        EXPECT_EQ(show(*entry), expected);
    }
    EXPECT_FALSE(std::getline(file, expected));
    EXPECT_TRUE(NodeRegistry::takeConflicts().empty());
}

TEST(Plugin, KnowsWhatItsNodesChangeAndWhoseShapeTheyKeep) {
    loadLibrary(ZUN_IMGPROC);
    auto const facts = [](char const *type) { return NodeRegistry::find(type)->facts; };
    EXPECT_TRUE(facts("ApplyMask").findInput("targetFrames")->changedInPlace);
    EXPECT_FALSE(facts("DrawPoints").findInput("image")->changedInPlace);
    EXPECT_EQ(facts("ApplyMask").findOutput("maskedFrames")->shapedLike, "targetFrames");
    EXPECT_EQ(facts("ConvertColour").findOutput("Grey")->shapedLike, connectedInput);
}

TEST(Plugin, GuardsAgainstFramesThatHoldLessThanTheySay) {
    Frame const colour = blank<Vec3b>(0xffffffff, 0xffffffff), sound({1, 1});
    char const *const message = "the frame says to have 4294967295 rows and 4294967295 columns but holds 1 element;";
    expectGuarded("NegativeImage", {{{}, {{"input", valueOf(colour)}}, "input", message}});
    expectGuarded("ResizeImage", {{{}, {{"input", valueOf(colour)}}, "input", message}});
    expectGuarded("ApplyMask",
                  {{{}, {{"sourceFrames", valueOf(std::vector{sound, colour})}}, "sourceFrames", message}});
    expectGuarded("CropAny", {{{}, {{"image", valueOf(colour)}}, "image", message}});
    expectGuarded("EllipseMask", {{{}, {{"input", valueOf(blank<Vec3b>(65536, 65536))}}, "input", "holds 0 elements"}});
    for (auto const *entry : NodeRegistry::entries()) EXPECT_NE(entry->facts.guard, nullptr) << entry->type;
}

TEST(Plugin, CropTakesTheConfigOfEitherInstantiationAndNothingElse) {
    std::map<std::string, std::string> const inputs{{"box", "b"}, {"image", "i"}};
    for (std::string const type : {"Crop<Vec3b>", "Crop<Vec3f>"}) {
        for (std::string const configured : {"Crop<Vec3b>", "Crop<Vec3f>", "Crop", "Crop<"})
            EXPECT_EQ(messageOf([&] { build(type, NodeConfig(configured, {}, inputs)); }), "no failure");
        for (std::string const configured : {"CropAny", "", "crop<Vec3b>", "Crop <Vec3b>"})
            expectFailureWithoutLocation(
                [&] { build(type, NodeConfig(configured, {}, inputs)); },
                "Tried to initialise a node of type Crop with the config for a node of type: " + configured);
    }
}

} // namespace
} // namespace zun::test
