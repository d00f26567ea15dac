#include <gtest/gtest.h>

#include "pipeline/NodeRegistry.h"
#include "support/OneNode.h"

namespace zun {
namespace {

TEST(NodeRegistry, KeepsTheFirstMeaningOfATypeStringAndReportsBothLibraries) {
    EXPECT_EQ(NodeRegistry::find("Claimed"), nullptr);
    test::loadLibrary(FIRST_CLAIM);
    NodeRegistry::Entry const *const first = NodeRegistry::find("Claimed");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(NodeRegistry::takeConflicts(), std::vector<std::string>());

    test::loadLibrary(SECOND_CLAIM);
    EXPECT_EQ(
        NodeRegistry::takeConflicts(),
        std::vector<std::string>{"node type \"Claimed\" is registered twice: by " FIRST_CLAIM " and by " SECOND_CLAIM});
    EXPECT_EQ(NodeRegistry::takeConflicts(), std::vector<std::string>()) << "told once";
    EXPECT_EQ(NodeRegistry::find("Claimed"), first);
    EXPECT_EQ(first->library, FIRST_CLAIM);
    EXPECT_EQ(first->documentation.summary, "first_claim");

    std::vector<std::string> types;
    for (auto const *entry : NodeRegistry::entries()) types.push_back(entry->type);
    EXPECT_EQ(types, (std::vector<std::string>{"Claimed", "Claimed by first_claim", "Claimed by second_claim"}));
}

} // namespace
} // namespace zun
