#include "observers/TapFiles.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <memory>
#include <typeinfo>

#include <nlohmann/json.hpp>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "media/records/RecordText.h"
#include "media/writing/OutputFormats.h"
#include "media/writing/PictureEncoders.h"
#include "observers/Picture.h"

namespace zun::observers {
namespace {

using Json = nlohmann::ordered_json;

template <class... Ts>
bool isAnyOf(std::type_info const &variant) {
    return ((variant == typeid(VariantType<Ts>) || variant == typeid(VariantType<std::vector<Ts>>)) || ...);
}

/// The frame of this index, if the value is or holds frames of `T`.
template <class T>
Mat<T, 2> const *frameOf(Variant const &value, std::size_t index) {
    if (auto const *const one = dynamic_cast<VariantType<Mat<T, 2>> const *>(&value)) return &one->value;
    auto const *const list = dynamic_cast<VariantType<std::vector<Mat<T, 2>>> const *>(&value);
    return list != nullptr ? &list->value[index] : nullptr;
}

/// Replaces the scaled bytes of a picture with the floats of the frame itself.
template <class T>
void keepFloats(Mat<T, 2> const *frame, Picture &picture) {
    if (frame == nullptr) return;
    picture.pixels.floats = std::shared_ptr<float>(frame->data, reinterpret_cast<float *>(frame->first()));
    picture.pixels.bytes.reset();
    picture.range.reset();
}

/// The double with the digits of the float.
double asWritten(float number) {
    std::array<char, 32> digits;
    char const *const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    double same = 0;
    std::from_chars(digits.data(), end, same);
    return same;
}

std::string withEnding(std::string const &file, std::string const &ending) {
    return std::filesystem::path(file).replace_extension(ending).string();
}

std::string numbered(std::string const &file, std::size_t index) {
    std::string const ending = std::filesystem::path(file).extension().string();
    return file.substr(0, file.size() - ending.size()) + "-" + std::to_string(index) + ending;
}

bool isMask(TapSubject const &subject) { return subject.type != nullptr && isAnyOf<Mask>(*subject.type->variant); }

/// What the picture itself doesn't tell; "" for nothing.
std::string besidePicture(Picture const &picture, TapSubject const &subject) {
    if (!picture.range && !isMask(subject)) return "";
    Json json{{"stream", subject.stream},
              {"tick", subject.tick},
              {"type", subject.type->spelling},
              {"rows", picture.pixels.height},
              {"columns", picture.pixels.width}};
    if (picture.range) {
        json["from"] = asWritten(picture.range->from);
        json["to"] = asWritten(picture.range->to);
    } else {
        json["rectangle"] = {picture.x, picture.y, picture.pixels.width, picture.pixels.height};
    }
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

bool showsAsPictures(ValueType const &type) {
    return isAnyOf<Mat<unsigned char, 2>, Mat<float, 2>, Mat<Vec3b, 2>, Mat<Vec4b, 2>, Mat<Vec3f, 2>, Mask>(
        *type.variant);
}

std::vector<TapFile> pictureFiles(Variant const &value, std::string const &name, TapSubject const &subject) {
    media::PictureFormat const format = media::formatOf(name, "")->picture;
    std::vector<TapFile> files;
    for (std::size_t i = 0; i < frameCount(value); i++) {
        std::string const file = isFrameList(value) ? numbered(name, i) : name;
        Picture picture = pictureOf(value, i);
        if (format == media::PictureFormat::Tiff) {
            keepFloats(frameOf<float>(value, i), picture);
            keepFloats(frameOf<Vec3f>(value, i), picture);
        }
        media::Bytes const bytes = media::encodePicture(file, format, picture.pixels, {});
        files.push_back({file, {bytes.begin(), bytes.end()}});
        if (std::string const beside = besidePicture(picture, subject); !beside.empty())
            files.push_back({withEnding(file, ".json"), beside});
    }
    return files;
}

std::string recordLine(Variant const &value, Tick tick) {
    return R"({"tick":)" + std::to_string(tick) + R"(,"value":)" + media::recordText(value) + "}\n";
}

} // namespace zun::observers
