#include <cstring>
#include <fstream>
#include <iterator>

#include <elf.h>
#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "support/Failures.h"

namespace zun {
namespace {

/// The names that a library exports.
std::vector<std::string> exportedNames(char const *path) {
    std::ifstream file(path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    auto const read = [&]<class T>(T, std::uint64_t offset) {
        T value;
        std::memcpy(&value, bytes.data() + offset, sizeof value);
        return value;
    };
    auto const header = read(Elf64_Ehdr{}, 0);
    auto const section = [&](std::uint64_t i) { return read(Elf64_Shdr{}, header.e_shoff + i * sizeof(Elf64_Shdr)); };
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < header.e_shnum; i++) {
        Elf64_Shdr const table = section(i);
        if (table.sh_type != SHT_DYNSYM) continue;
        std::uint64_t const texts = section(table.sh_link).sh_offset;
        for (std::uint64_t at = 0; at < table.sh_size; at += sizeof(Elf64_Sym)) {
            auto const symbol = read(Elf64_Sym{}, table.sh_offset + at);
            bool const global = ELF64_ST_BIND(symbol.st_info) != STB_LOCAL;
            if (global && symbol.st_shndx != SHN_UNDEF) names.push_back(bytes.data() + texts + symbol.st_name);
        }
    }
    return names;
}

TEST(Plugin, ExportsNothing) {
    EXPECT_EQ(exportedNames(ZUN_IMGPROC), std::vector<std::string>());
    EXPECT_TRUE(std::string(ZUN_IMGPROC).ends_with("/lib/zun/imgproc.so"));
}

TEST(Plugin, RegistersItsTypesInOrderWhenItIsLoaded) {
    test::loadLibrary(ZUN_IMGPROC);
    // Types that come later keep these in this order.
    std::vector<std::string> const expected{"DrawPoints", "NegativeImage", "Crop<Vec3b>", "Crop<Vec3f>", "CropAny"};
    std::vector<std::string> found;
    for (auto const *entry : NodeRegistry::entries()) {
        EXPECT_EQ(entry->library, ZUN_IMGPROC);
        EXPECT_NE(entry->documentation.summary, "") << entry->type;
        if (std::find(expected.begin(), expected.end(), entry->type) != expected.end()) found.push_back(entry->type);
    }
    EXPECT_EQ(found, expected);
    EXPECT_TRUE(NodeRegistry::takeConflicts().empty());
}

/// A port or option in one line: its type, then "required" or its default.
std::string show(CommonMeta const &meta) {
    return meta.type + (meta.optional ? " = " + meta.defaultValue : meta.defaultValue + " required");
}

template <class Records>
std::map<std::string, std::string> showAll(Records const &records) {
    std::map<std::string, std::string> shown;
    for (auto const &[name, record] : records) {
        EXPECT_EQ(record.name, name);
        shown[name] = show(record);
        if constexpr (requires { record.internal; }) {
            EXPECT_FALSE(record.internal);
            EXPECT_EQ(static_cast<int>(record.streamType), 0);
        }
        if constexpr (requires { record.limit; }) {
            EXPECT_EQ(record.limit, 2);
        }
    }
    return shown;
}

TEST(Plugin, SpecifiesItsTypesLetterByLetter) {
    using Texts = std::map<std::string, std::string>;
    Texts const clamp{{"clamp", "bool = false"}};
    struct {
        char const *type, *name;
        int classCode;
        Texts inputs, outputs, options;
    } const cases[] = {
        {"DrawPoints",
         "DrawPoints",
         3,
         {{"image", "zun::Mat<RGBPixel, 2> required"}, {"points", "zun::List<zun::Vec2f> required"}},
         {{"output", "zun::Mat<RGBPixel, 2> = -"}},
         {{"colour", "std::string = 0xFF00FF"}}},
        {"NegativeImage",
         "NegativeImage",
         1,
         {{"input", "zun::Mat<zun::Vec3b, 2> required"}},
         {{"output", "zun::Mat<zun::Vec3b, 2> = -"}},
         {}},
        {"Crop<Vec3b>",
         "Crop",
         3,
         {{"box", "zun::Box required"}, {"image", "zun::Mat<T, 2> required"}},
         {{"output", "zun::Mat<T, 2> = -"}},
         clamp},
        {"Crop<Vec3f>",
         "Crop",
         3,
         {{"box", "zun::Box required"}, {"image", "zun::Mat<T, 2> required"}},
         {{"output", "zun::Mat<T, 2> = -"}},
         clamp},
        {"CropAny",
         "CropAny",
         3,
         {{"box", "zun::Box required"}, {"image", "any required"}},
         {{"output", "any = -"}},
         clamp},
    };
    test::loadLibrary(ZUN_IMGPROC);
    for (auto const &[type, name, classCode, inputs, outputs, options] : cases) {
        SCOPED_TRACE(type);
        NodeRegistry::Entry const *const entry = NodeRegistry::find(type);
        ASSERT_NE(entry, nullptr);
        NodeSpecification const &specification = entry->specification;
        EXPECT_EQ(specification.name, name);
        EXPECT_EQ(specification.classCode, classCode);
        EXPECT_EQ(specification.parallelCode, 1);
        EXPECT_EQ(specification.baseType, "PipelineNode");
        EXPECT_EQ(showAll(specification.inputs), inputs);
        EXPECT_EQ(showAll(specification.outputs), outputs);
        EXPECT_EQ(showAll(specification.options), options);
        ASSERT_EQ(specification.templates.size(), std::string(name) == "Crop" ? 1u : 0u);
        for (auto const &parameter : specification.templates) {
            EXPECT_EQ(parameter.kind, "typename");
            EXPECT_EQ(parameter.parameter, "T");
            EXPECT_EQ(parameter.choices, (Texts{{"Vec3b", "zun::Vec3b"}, {"Vec3f", "zun::Vec3f"}}));
        }
        test::OneNode one(type);
        EXPECT_EQ(one.node->getType(), name);
        EXPECT_TRUE(one.node->canSelfParallelise());
        EXPECT_EQ(one.node->getOutputStreams(), std::set<std::string>{"out.output"});
    }
}

TEST(Plugin, NodesFailAtConstructionWithTheirOwnNamesAndPaths) {
    struct {
        char const *type, *inMessages, *path;
        std::vector<std::string> inputs; // in the order of the table
    } const cases[] = {
        {"DrawPoints", "DrawPoints", "imgproc/drawing/DrawPoints:", {"image", "points"}},
        {"NegativeImage", "NegativeImage", "imgproc/NegativeImage:", {"input"}},
        {"Crop<Vec3b>", "Crop<T>", "imgproc/Crop:", {"box", "image"}},
        {"Crop<Vec3f>", "Crop<T>", "imgproc/Crop:", {"box", "image"}},
        {"CropAny", "CropAny", "imgproc/CropAny:", {"box", "image"}},
    };
    for (auto const &[type, inMessages, path, inputs] : cases) {
        SCOPED_TRACE(type);
        std::map<std::string, std::string> given;
        for (std::string const &input : inputs) {
            test::expectFailureAt([&] { test::build(type, NodeConfig(type, {}, given)); },
                                  "No value specified for Input \"" + input + "\" in a node of type " + inMessages,
                                  path);
            given[input] = input;
        }
        std::string const name = NodeRegistry::find(type)->specification.name;
        test::expectFailureWithoutLocation([&] { test::build(type, NodeConfig("Blur<Vec3b>", {}, given)); },
                                           "Tried to initialise a node of type " + name +
                                               " with the config for a node of type: Blur<Vec3b>");
        auto const node = test::build(type, NodeConfig(type, {}, given));
        VariantType<double> value(0);
        test::expectFailureAt([&] { node->setOption("input", value); },
                              "Unknown Option for " + std::string(inMessages) + ": input", path);
    }
}

TEST(Plugin, CropTakesTheConfigOfEitherInstantiationAndNothingElse) {
    std::map<std::string, std::string> const inputs{{"box", "b"}, {"image", "i"}};
    for (std::string const type : {"Crop<Vec3b>", "Crop<Vec3f>"}) {
        for (std::string const configured : {"Crop<Vec3b>", "Crop<Vec3f>", "Crop", "Crop<"})
            EXPECT_EQ(test::messageOf([&] { test::build(type, NodeConfig(configured, {}, inputs)); }), "no failure");
        for (std::string const configured : {"CropAny", "", "crop<Vec3b>", "Crop <Vec3b>"})
            test::expectFailureWithoutLocation(
                [&] { test::build(type, NodeConfig(configured, {}, inputs)); },
                "Tried to initialise a node of type Crop with the config for a node of type: " + configured);
    }
}

} // namespace
} // namespace zun
