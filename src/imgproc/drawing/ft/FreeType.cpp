#include "imgproc/drawing/ft/FreeType.h"

#include <cmath>
#include <cstdlib>
#include <mutex>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "containers/Arithmetic.h"
#include "imgproc/kernels/BlendCoverage.h"
#include "pipeline/Failure.h"

namespace {

/// Never destroyed: faces may be closed after all objects of static storage are gone.
std::mutex &ftMutex = *new std::mutex;

/// Failures of text name this file with the separators that they have always had.
template <class... Parts>
void require(bool holds, zun::Condition condition, Parts const &...parts) {
    if (!holds) zun::failAt({"imgproc\\drawing\\ft\\FreeType", condition.line}, condition.text, parts...);
}

int baselineOf(FT_FaceRec const &face, int size) {
    int const extent = zun::wrappingSubtract(static_cast<int>(face.bbox.yMax), static_cast<int>(face.bbox.yMin));
    int const ascent = zun::wrappingMultiply(extent, size) / face.units_per_EM;
    int const drop = zun::wrappingMultiply(face.descender, size) / face.units_per_EM;
    return zun::truncateToInt(std::round(static_cast<double>(ascent) - std::abs(static_cast<double>(drop))));
}

} // namespace

FreeTypeLibrary::FreeTypeLibrary() {
    FT_Library opened = nullptr;
    if (FT_Init_FreeType(&opened) == 0) instance.reset(opened, FT_Done_FreeType);
}

void FreeTypeFace::openFace(FreeTypeLibrary const &from, std::string path, int size) {
    closeFace();
    std::lock_guard const lock(ftMutex);
    require(from.instance != nullptr, "ftLib.instance", "FreeType library not available");
    library = from.instance;
    FT_Error error = FT_New_Face(library.get(), path.c_str(), 0, &face);
    require(error == 0, "!error", "Error opening file \"", path, "\": ", error);
    error = FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
    require(error == 0, "!error", "Error setting size \"", size, "\": ", error);
    // A font of bitmaps has no units.
    require(face->units_per_EM != 0, "face->units_per_EM", "No outlines in file \"", path, "\"");
    baseline = baselineOf(*face, size);
}

void FreeTypeFace::closeFace() {
    std::lock_guard const lock(ftMutex);
    if (face != nullptr) FT_Done_Face(face);
    face = nullptr;
    library.reset();
}

void FreeTypeFace::drawString(zun::Mat<zun::Vec3b, 2> frame, int penRow, int penColumn, zun::Vec3b colour,
                              std::string text) {
    std::lock_guard const lock(ftMutex);
    auto const rows = static_cast<int>(frame.shape[0]), columns = static_cast<int>(frame.shape[1]);
    FT_GlyphSlotRec const &slot = *face->glyph;
    for (char const byte : text) {
        // A byte of 0x80 or more is a negative character, which no font has.
        auto const character = static_cast<FT_ULong>(static_cast<signed char>(byte));
        FT_UInt const glyph = FT_Get_Char_Index(face, character);
        if (glyph == 0 || FT_Load_Glyph(face, glyph, FT_LOAD_DEFAULT) != 0) continue;
        FT_Error const error = FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL);
        require(error == 0, "!error", "glyph render error: ", error);
        FT_Bitmap const &bitmap = slot.bitmap;
        require(bitmap.pixel_mode == FT_PIXEL_MODE_GRAY, "slot->bitmap.pixel_mode == FT_PIXEL_MODE_GRAY",
                "UnexpectXed pixel mode ", static_cast<char>(bitmap.pixel_mode));

        int const top = zun::wrappingSubtract(zun::wrappingAdd(penRow, baseline), slot.bitmap_top);
        int const left = zun::wrappingAdd(penColumn, slot.bitmap_left);
        zun::kernels::blendCoverage({bitmap.buffer, bitmap.pitch, bitmap.rows, bitmap.width}, frame.first(),
                                    {frame.shape[0], frame.shape[1]}, top, left, colour);
        penColumn = zun::wrappingAdd(penColumn, static_cast<int>(slot.advance.x / 64));
        if (penColumn >= columns) break;
        penRow = zun::wrappingAdd(penRow, static_cast<int>(slot.advance.y / 64));
        if (penRow >= rows) break;
    }
}
