#include "guards/Target.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "imgproc/kernels/Targets.h"

namespace zun::guards {

std::string useTargetOfEnvironment() {
    char const *const given = std::getenv("ZUN_TARGET");
    std::string const name = given != nullptr && *given != '\0' ? given : kernels::targets().front();
    try {
        kernels::useTarget(name);
        return name;
    } catch (std::invalid_argument const &error) {
        throw std::invalid_argument(std::string("ZUN_TARGET: ") + error.what());
    }
}

} // namespace zun::guards
