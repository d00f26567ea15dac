#include <memory>
#include <random>
#include <stdexcept>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <opencv2/imgproc.hpp>

#include "CaseList.h"
#include "vexa_core/Paths.h"

namespace zun::bench {
namespace {

cv::Scalar const pink(255, 0, 255); // the nodes' default

/// The font of the nodes that draw text.
class Font {
public:
    explicit Font(unsigned pixels) {
        std::string const file = resolve_relative_path("share/fonts/OpenSans-Regular.ttf", true);
        if (FT_Init_FreeType(&library) != 0 || FT_New_Face(library, file.c_str(), 0, &face) != 0 ||
            FT_Set_Pixel_Sizes(face, 0, pixels) != 0)
            throw std::runtime_error("the font '" + file + "' can't be opened");
    }
    ~Font() { FT_Done_FreeType(library); }
    Font(Font const &) = delete;
    Font &operator=(Font const &) = delete;

    void render(std::string const &text) const {
        for (char const character : text) FT_Load_Char(face, static_cast<FT_ULong>(character), FT_LOAD_RENDER);
    }

private:
    FT_Library library = nullptr;
    FT_Face face = nullptr;
};

void addDrawPoints(CaseList &list, std::vector<Vec2f> const &points) {
    list.add({.type = "DrawPoints",
              .setting = "1,000 points",
              .inputs = {{"image", value(list.frames.colour)}, {"points", value(points)}},
              .options = {},
              .outputs = {},
              .peer = Peer{"clone + set",
                           [points, in = list.frames.colour, out = list.out] {
                               view(in).copyTo(*out);
                               for (Vec2f const &point : points)
                                   out->at<cv::Vec3b>(int(point[0]), int(point[1])) = cv::Vec3b(255, 0, 255);
                           },
                           1.05},
              .bytes = list.frames.colour.bytes()});
}

void addDrawBoxes(CaseList &list, std::vector<Box> const &boxes, bool filled) {
    Colour const canvas = list.frames.colour.clone();
    list.add({.type = "DrawBoxes",
              .setting = filled ? "100 filled" : "100 outlines",
              .inputs = {{"frames", value(canvas)}, {"boxes", value(boxes)}},
              .options = {{"filled", flag(filled)}},
              .outputs = {},
              .peer = Peer{"rectangle",
                           [=] {
                               cv::Mat target = view(canvas);
                               for (Box const &box : boxes)
                                   cv::rectangle(target,
                                                 cv::Rect(int(box.x), int(box.y), int(box.width), int(box.height)),
                                                 pink, filled ? cv::FILLED : 1);
                           },
                           filled ? 0.6 : 0.8}});
}

/// OpenCV draws text by FreeType in a module that brings half of Debian with it. That takes 1.36 times as long as
/// FreeType alone takes to render the same glyphs, which is the peer here: the aim is 0.95 of the whole.
void addDrawText(CaseList &list) {
    constexpr int pixels = 24;
    auto const font = std::make_shared<Font>(pixels);
    std::vector<std::string> const strings(20, "The quick brown fox 0123");
    std::vector<Vec2f> corners;
    for (std::size_t i = 0; i < strings.size(); i++)
        corners.push_back({float(i) * float(list.rows - 2 * pixels) / float(strings.size()), 100});
    list.add({.type = "DrawText",
              .setting = "20 strings of 24 px",
              .inputs = {{"frames", value(list.frames.colour.clone())},
                         {"strings", value(strings)},
                         {"locations", value(corners)}},
              .options = {{"size", number(pixels)}},
              .outputs = {},
              .peer = Peer{"FreeType, not drawn",
                           [=] {
                               for (std::string const &text : strings) font->render(text);
                           },
                           0.95 * 1.36}});
}

} // namespace

void addDrawingCases(CaseList &list) {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> anyColumn(0, float(list.columns - 1)), anyRow(0, float(list.rows - 1)),
        anySide(20, 200);
    std::vector<Vec2f> points(1000);
    for (Vec2f &point : points) point = {anyRow(random), anyColumn(random)};
    std::vector<Box> boxes(100);
    for (Box &box : boxes) box = {anyColumn(random), anyRow(random), anySide(random), anySide(random)};

    addDrawPoints(list, points);
    for (bool const filled : {false, true}) addDrawBoxes(list, boxes, filled);
    addDrawText(list);
}

} // namespace zun::bench
