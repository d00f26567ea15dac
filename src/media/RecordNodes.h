// The nodes that read and write records, and what hosts know of them.
#pragma once

#include "engine/Facts.h"

namespace zun::media {

void registerReadRecords();
void registerWriteRecords();
void registerConstant();

engine::NodeFacts readRecordsFacts();
engine::NodeFacts writeRecordsFacts();
engine::NodeFacts constantFacts();

/// The text of an option that a node can't do without, as far as the description has it.
inline std::string textOption(NodeConfig const &config, std::string const &name) {
    auto const options = config.getParsedOptions();
    auto const found = options.find(name);
    return found == options.end() ? "" : convertOption<std::string>(found->second);
}

} // namespace zun::media
