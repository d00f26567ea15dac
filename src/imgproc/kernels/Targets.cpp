#include "imgproc/kernels/Targets.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include <hwy/highway.h>

namespace zun::kernels {
namespace {

/// Fast forms call the plain ones on the target that has no vectors.
std::string nameOf(std::int64_t target) {
    bool const withoutVectors = target == HWY_SCALAR || target == HWY_EMU128;
    return withoutVectors ? std::string(plainTarget) : hwy::TargetName(target);
}

/// The targets of the machine, whichever is in use. They are asked for once, because asking changes the one in use.
std::vector<std::int64_t> const &bits() {
    static std::vector<std::int64_t> const all = [] {
        hwy::SetSupportedTargetsForTest(0);
        return hwy::SupportedAndGeneratedTargets();
    }();
    return all;
}

void choose(std::int64_t targetOrAll) {
    hwy::SetSupportedTargetsForTest(targetOrAll);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

} // namespace

std::vector<std::string> targets() {
    std::vector<std::string> names;
    for (std::int64_t const target : bits()) names.push_back(nameOf(target));
    return names;
}

void useTarget(std::string_view name) {
    std::string known;
    for (std::int64_t const target : bits()) {
        if (nameOf(target) == name) return choose(target);
        known += (known.empty() ? "" : ", ") + nameOf(target);
    }
    throw std::invalid_argument("\"" + std::string(name) + "\" is not a target of this machine, which has " + known);
}

void useBestTarget() { choose(0); }

std::string useTargetOfEnvironment() {
    char const *const given = std::getenv("ZUN_TARGET");
    std::string const name = given != nullptr && *given != '\0' ? given : targets().front();
    try {
        useTarget(name);
        return name;
    } catch (std::invalid_argument const &error) {
        throw std::invalid_argument(std::string("ZUN_TARGET: ") + error.what());
    }
}

} // namespace zun::kernels
