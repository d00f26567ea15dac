// The instruction sets that kernels are made for.
//
// A kernel x with a fast form comes three times: x.h says what it computes; x.cpp holds plain::x, the loop that defines
// the result; x_hwy.cpp holds the fast form, compiled once for each target, and x itself, which calls that of the best
// target that the machine has. All give the same bits. Code that is compiled for many targets uses no templates of the
// standard library, which a compiler may make for one of them and then share; scratch is taken outside it.
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
/// std::invalid_argument, saying what there is, for one that targets() doesn't name. Not to be called while kernels
/// run.
void useTarget(std::string_view name);

/// The best target again.
void useBestTarget();

} // namespace zun::kernels
