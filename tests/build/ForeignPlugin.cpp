// A plug-in that was compiled with headers of another VERSION, or with some that leave no version.
#include <cstdio>

#ifdef VERSION
#include "pipeline/ApiVersion.h"
#undef ZUN_API_VERSION
#define ZUN_API_VERSION VERSION
#include "node/Registration.h"
#endif

[[maybe_unused]] static int const printed = std::puts("its code runs");
