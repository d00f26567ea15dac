// A node of the plug-in behind its guard.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "guards/Guards.h"
#include "support/OneNode.h"

namespace zun::test {

class Guarded {
public:
    explicit Guarded(std::string const &type, std::map<std::string, OptionNode> const &options = {})
        : guard(guards::facts().at(type).guard), node((loadLibrary(ZUN_IMGPROC), type), options) {}

    /// The guard's answer; inputs are named by port.
    std::optional<engine::Refusal> refusal(Values const &inputs) const {
        return guard(engine::GuardView(node.config, 0, inputs));
    }

    /// The node's output, whatever the guard says.
    std::shared_ptr<Variant> output(Values const &inputs) { return node.run(inputs).at("out.output"); }

private:
    engine::Guard guard;
    OneNode node;
};

} // namespace zun::test
