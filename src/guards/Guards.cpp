#include "guards/Guards.h"

#include "guards/Cropping.h"
#include "guards/Drawing.h"

namespace zun::guards {

engine::NodeFactsTable const &facts() {
    static engine::NodeFactsTable const table{
        {"DrawPoints", {.changesInPlace = {}, .guard = drawPoints, .sizedLike = {{"output", "image"}}}},
        {"NegativeImage", {.changesInPlace = {}, .sizedLike = {{"output", "input"}}}},
        {"Crop<Vec3b>", {.changesInPlace = {}, .guard = crop}},
        {"Crop<Vec3f>", {.changesInPlace = {}, .guard = crop}},
        {"CropAny", {.changesInPlace = {}, .guard = crop}},
    };
    return table;
}

} // namespace zun::guards
