#include "guards/Guards.h"

#include "guards/Binary.h"
#include "guards/Cropping.h"
#include "guards/Detection.h"
#include "guards/Drawing.h"
#include "guards/Filtering.h"
#include "guards/Geometry.h"
#include "guards/Masking.h"

namespace zun::guards {

engine::NodeFactsTable const &facts() {
    static engine::NodeFactsTable const table{
        {"DrawPoints", {.changesInPlace = {}, .guard = drawPoints, .sizedLike = {{"output", "image"}}}},
        {"DrawText", {.changesInPlace = {"frames"}, .guard = drawText, .sizedLike = {{"output", "frames"}}}},
        {"DrawBoxes", {.changesInPlace = {"frames"}, .guard = drawBoxes, .sizedLike = {{"output", "frames"}}}},
        {"NegativeImage", {.changesInPlace = {}, .sizedLike = {{"output", "input"}}}},
        {"Crop<Vec3b>", {.changesInPlace = {}, .guard = crop}},
        {"Crop<Vec3f>", {.changesInPlace = {}, .guard = crop}},
        {"CropAny", {.changesInPlace = {}, .guard = crop}},
        {"MaskFactory", {.changesInPlace = {}, .guard = maskFactory}},
        {"ApplyMask",
         {.changesInPlace = {"targetFrames"}, .guard = applyMask, .sizedLike = {{"maskedFrames", "targetFrames"}}}},
        {"EllipseMask", {.changesInPlace = {}, .sizedLike = {{"output", "input"}}}},
        {"Grey2BinarySequence", {.changesInPlace = {}, .guard = grey2BinarySequence}},
        {"ApplyHomogenousMorphology",
         {.changesInPlace = {}, .guard = applyHomogenousMorphology, .sizedLike = {{"output", "input"}}}},
        {"BinaryDominatedRowColRemover", {.changesInPlace = {}, .sizedLike = {{"output", "input"}}}},
        {"BinaryLongLineRemover",
         {.changesInPlace = {}, .guard = binaryLongLineRemover, .sizedLike = {{"output", "input"}}}},
        {"CannyEdgeDetector", {.changesInPlace = {}, .sizedLike = {{"cannyMapImg", "image"}}}},
        {"FindContours", {.changesInPlace = {}, .guard = findContours}},
        {"HoughLines", {.changesInPlace = {}, .sizedLike = {{"houghLinesImg", "image"}}}},
        {"ConvertColour",
         {.changesInPlace = {}, .sizedLike = {{"BGR", ""}, {"Binary", ""}, {"Grey", ""}, {"RGB", ""}, {"YCbCr", ""}}}},
        {"ResizeImage", {.changesInPlace = {}, .guard = resizeImage}},
        {"WarpAffine", {.changesInPlace = {}, .guard = warpAffine}},
        {"GreyBoxBlur", {.changesInPlace = {}, .guard = boxBlur, .sizedLike = {{"output", "input"}}}},
        {"RGBBoxBlur", {.changesInPlace = {}, .guard = boxBlur, .sizedLike = {{"output", "input"}}}},
        {"NormalizeGreyImage", {.changesInPlace = {}, .guard = normalizeGreyImage, .sizedLike = {{"output", "input"}}}},
        {"NormalizeYCbCrImage",
         {.changesInPlace = {}, .guard = normalizeYCbCrImage, .sizedLike = {{"output", "input"}}}},
        {"SlidingWindowNormalizeGreyImage",
         {.changesInPlace = {}, .guard = slidingWindowNormalizeGreyImage, .sizedLike = {{"output", "input"}}}},
    };
    return table;
}

} // namespace zun::guards
