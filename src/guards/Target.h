// The instruction set that the plug-in's kernels run for. The host chooses it, for the whole process.
#pragma once

#include <string>

namespace zun::guards {

/// Makes kernels run for the target that the environment variable ZUN_TARGET names, or for the best that the machine
/// has where it is empty or not set, and returns the target's name. Throws std::invalid_argument, naming the variable
/// and what there is, for another text. Not to be called while nodes run.
std::string useTargetOfEnvironment();

} // namespace zun::guards
