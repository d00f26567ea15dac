#include "KernelCase.h"

namespace zun::kernels {

std::vector<KernelCase> binaryCases() { return {}; }

} // namespace zun::kernels
