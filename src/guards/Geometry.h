// Guards of the nodes that resample frames.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// ResizeImage: a frame that doesn't pass as it is has to come out with at least one row and one column, and within
/// 4 GiB. A setting of the algorithm that the node refuses itself passes.
std::optional<engine::Refusal> resizeImage(engine::GuardView const &view);

/// WarpAffine: the transform has at least two rows and three columns, and the size no negative number and no more than
/// 4 GiB of pixels. Elements of the transform may be anything, and a size may be 0.
std::optional<engine::Refusal> warpAffine(engine::GuardView const &view);

} // namespace zun::guards
