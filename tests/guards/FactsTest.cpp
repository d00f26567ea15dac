#include "Guarded.h"

namespace zun::test {
namespace {

TEST(Facts, SpeakOfRegisteredTypesAndTheirPorts) {
    loadLibrary(ZUN_IMGPROC);
    for (auto const &[type, facts] : guards::facts()) {
        SCOPED_TRACE(type);
        NodeRegistry::Entry const *const entry = NodeRegistry::find(type);
        ASSERT_NE(entry, nullptr);
        for (std::string const &port : facts.changesInPlace) EXPECT_TRUE(entry->specification.inputs.contains(port));
        for (auto const &[output, input] : facts.sizedLike) {
            EXPECT_TRUE(entry->specification.outputs.contains(output)) << output;
            EXPECT_TRUE(input.empty() || entry->specification.inputs.contains(input)) << input;
        }
        if (facts.guard) {
            NodeConfig const config = connected(type);
            EXPECT_FALSE(facts.guard(engine::GuardView(config, 0, {}))) << "nothing to judge";
        }
    }
    EXPECT_EQ(guards::facts().at("NegativeImage").sizedLike.at("output"), "input");
    EXPECT_EQ(guards::facts().at("DrawPoints").sizedLike.at("output"), "image");
}

} // namespace
} // namespace zun::test
