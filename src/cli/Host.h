// What the programs do alike: load node types, read a description, check it, and print what is wrong.
#pragma once

#include <string>
#include <vector>

#include "graph/Graph.h"

namespace zun::cli {

/// How a program ends.
enum ExitStatus : int { fine = 0, failed = 1, wrongUsage = 2 };

/// The arguments of a command that name a description and what to change in it.
struct DescriptionArguments {
    std::string file;
    std::vector<std::string> variables; ///< "name=value"
    std::vector<std::string> settings;  ///< "node.option=value"
    std::vector<std::string> plugins;   ///< paths or names, beside the image-processing nodes
    bool allowNetwork = false, allowDevices = false;
    unsigned threads = 0; ///< that one decoder or encoder may use; 0: one for each core
};

/// Makes the node types known: the host's own, those of the plug-in imgproc, and those of the plug-ins given. Throws
/// zun::Exception for a plug-in that can't be loaded.
void loadNodeTypes(std::vector<std::string> const &plugins);

/// What the arguments change in the description.
engine::Overrides overridesOf(DescriptionArguments const &arguments);

/// Tells the host's nodes what they may use, and loads the node types.
void prepareHost(DescriptionArguments const &arguments);

/// Prepares the host, reads the description and checks it. All diagnostics
/// go to the standard error stream, in the order of the file: errors, warnings, and notes on what nodes settle by
/// themselves.
engine::Graph readAndCheck(DescriptionArguments const &arguments);

} // namespace zun::cli
