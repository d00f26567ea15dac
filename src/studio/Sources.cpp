#include "studio/Sources.h"

#include <exception>
#include <memory>

#include <sys/stat.h>

#include "containers/Exception.h"
#include "media/Source.h"
#include "pipeline/PipelineNode.h"

namespace zun::studio {
namespace {

bool isLive(engine::GraphNode const &node) {
    NodeFacts const &facts = node.type->facts;
    if (facts.forecast == nullptr || facts.outputBesideFrames() == nullptr) return false;
    try {
        std::unique_ptr<PipelineNode> const built(node.type->factory({nullptr, 0}, node.description->config()));
        auto const told = facts.forecast(*built, nullptr).source;
        auto const *const source = dynamic_cast<VariantType<media::FrameSource> const *>(told.get());
        return source != nullptr && source->value.info != nullptr && source->value.info->live;
    } catch (std::exception const &) {
        return false; // why it can't be built shows when it is
    }
}

bool isStream(std::string const &path) {
    struct stat status {};
    if (path == "-") return true;
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

/// The path of a node that reads a stream; empty if it reads none.
std::string streamRead(engine::GraphNode const &node) {
    if (node.type == nullptr || !node.inputs.empty()) return "";
    std::string path;
    for (engine::OptionSetting const &setting : node.description->options) {
        NodeFacts::Option const *const option = node.type->facts.findOption(setting.name);
        if (option == nullptr || option->sense.kind != OptionKind::Path) continue;
        if (!option->conversion.accepts(setting.value)) continue;
        path = convertOption<std::string>(setting.value);
        if (isStream(path)) return path;
    }
    return isLive(node) ? path : "";
}

} // namespace

std::string whyNotByTick(engine::GraphNode const &node) {
    std::string const path = streamRead(node);
    if (path.empty()) return "";
    return "node " + node.label() + " reads a stream, " + (path == "-" ? "standard input" : quoted(path)) +
           ", which can't be shown tick by tick; record it to a file first";
}

void requireByTick(engine::Graph const &graph) {
    for (engine::GraphNode const &node : graph.nodes)
        if (std::string const why = whyNotByTick(node); !why.empty()) throw Exception(why);
}

} // namespace zun::studio
