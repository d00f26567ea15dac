#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

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

/// A line for each port or option: its type, then "required" or its default.
template <class Records>
void show(std::ostream &out, char const *kind, Records const &records) {
    for (auto const &[name, record] : records) {
        EXPECT_EQ(record.name, name);
        out << "    " << kind << " " << name << ": " << record.type;
        out << (record.optional ? " = " + record.defaultValue : record.defaultValue + " required") << '\n';
        if constexpr (requires { record.internal; }) {
            EXPECT_FALSE(record.internal);
            EXPECT_EQ(static_cast<int>(record.streamType), 0);
        }
        if constexpr (requires { record.limit; }) {
            EXPECT_EQ(record.limit, 2);
        }
    }
}

std::string showAllTypes() {
    std::ostringstream out;
    for (auto const *entry : NodeRegistry::entries()) {
        NodeSpecification const &about = entry->specification;
        EXPECT_EQ(entry->library, ZUN_IMGPROC);
        EXPECT_NE(entry->documentation.summary, "") << entry->type;
        out << entry->type << ": " << about.name << ", " << about.baseType << ", class code " << about.classCode
            << ", parallel code " << about.parallelCode << '\n';
        for (auto const &[kind, parameter, choices] : about.templates)
            for (auto const &[choice, type] : choices)
                out << "    " << kind << " " << parameter << ": " << choice << " is " << type << '\n';
        show(out, "input", about.inputs);
        show(out, "output", about.outputs);
        show(out, "option", about.options);
    }
    return out.str();
}

TEST(Plugin, SpecifiesItsTypesLetterByLetterInTheOrderOfTheirRegistration) {
    test::loadLibrary(ZUN_IMGPROC);
    std::ifstream file(ZUN_SPECIFICATIONS);
    std::string const expected{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(showAllTypes(), expected);
    EXPECT_TRUE(NodeRegistry::takeConflicts().empty());
}

TEST(Plugin, NodesSayWhatTheirSpecificationsSay) {
    test::loadLibrary(ZUN_IMGPROC);
    for (auto const *entry : NodeRegistry::entries()) {
        SCOPED_TRACE(entry->type);
        std::map<std::string, OptionNode> options;
        for (auto const &[name, option] : entry->specification.options)
            if (!option.optional)
                options[name] = option.type == "zun::Vec2i"
                                    ? OptionNode::ofVector({OptionNode::ofInt(1), OptionNode::ofInt(1)})
                                    : OptionNode::ofInt(1);
        NodeConfig const config = test::connected(entry->type, options);
        auto const node = test::build(entry->type, config);
        EXPECT_EQ(node->getType(), entry->specification.name);
        EXPECT_EQ(node->canSelfParallelise(), entry->specification.parallelCode == 1);
        EXPECT_EQ(node->getInputStreams().size(), entry->specification.inputs.size());
        EXPECT_EQ(node->getOutputStreams().size(), entry->specification.outputs.size());
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
