// A node of the plug-in on its own.
#pragma once

#include <map>
#include <string>

#include "support/OneNode.h"

namespace zun::test {

struct ImgprocNode {
    explicit ImgprocNode(std::string const &type, std::map<std::string, OptionNode> const &options = {})
        : one((loadLibrary(ZUN_IMGPROC), type), options) {}

    /// What the node writes to its port "output".
    std::shared_ptr<Variant> output(Values const &inputs) { return one.run(inputs).at("out.output"); }
    void setOption(std::string const &name, Variant &value) { one.node->setOption(name, value); }

    OneNode one;
};

/// Builds a node of a type with the inputs given.
inline std::unique_ptr<PipelineNode> build(std::string const &type, NodeConfig const &config) {
    loadLibrary(ZUN_IMGPROC);
    return std::unique_ptr<PipelineNode>(NodeRegistry::find(type)->factory({nullptr, 0}, config));
}

} // namespace zun::test
