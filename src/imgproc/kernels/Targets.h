// The instruction sets that kernels are made for.
//
// A kernel x with a fast form has three files. x.h says what it computes; x.cpp holds plain::x, the loop that defines
// the result and may be slow; x_hwy.cpp holds the fast form, compiled once for each target. x itself calls the form for
// the best target that the machine has. All forms give the same bits. Code that is compiled for several targets uses no
// templates of the standard library, because the linker may keep the instance of any one target for all; scratch is
// allocated outside it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zun::kernels {

/// The name of the target that runs plain forms.
inline constexpr std::string_view plainTarget = "plain";

/// The targets that this machine has, the best first and plainTarget last. Thread-safe.
std::vector<std::string> targets();

/// Makes kernels of the whole process run for this target from now on; for tests and measurements. Throws
/// std::invalid_argument, listing the targets, for a name that targets() doesn't give. Not to be called while kernels
/// run.
void useTarget(std::string_view name);

/// The best target again.
void useBestTarget();

/// Makes kernels run for the target that the environment variable ZUN_TARGET names, or for the best that the machine
/// has where it is empty or not set, and returns the target's name. Throws std::invalid_argument, naming the variable
/// and the targets, for another text. Not to be called while kernels run.
std::string useTargetOfEnvironment();

} // namespace zun::kernels
