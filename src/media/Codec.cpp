#include "media/Codec.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "engine/ValueTypes.h"
#include "pipeline/TypeMismatch.h"

namespace zun::media {
namespace {

/// With floats of single precision, so that they are written as short as they can be.
using Json = nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;
using Type = OptionNode::Type;

constexpr char const *notANumber = "NaN";
constexpr char const *infinite = "Infinity";
constexpr char const *negativeInfinite = "-Infinity";

/// A place in a value, for messages.
struct Where {
    Where const *outer = nullptr;
    std::size_t index = 0;

    std::string text() const { return outer == nullptr ? "" : outer->text() + "[" + std::to_string(index) + "]"; }
};

std::string show(OptionNode const &node) {
    constexpr std::size_t longest = 40;
    auto const shorten = [](std::string text) {
        return text.size() <= longest ? text : text.substr(0, longest) + "...";
    };
    // On one line, and without the half of a character that was cut.
    auto const quote = [](std::string const &text) {
        return Json(text).dump(-1, ' ', false, Json::error_handler_t::ignore);
    };
    switch (node.type) {
    case Type::VECTOR:
        return "a list of " + std::to_string(node.vectorValue.size());
    case Type::STRING:
        return quote(shorten(node.stringValue));
    case Type::BOOL:
        return node.boolValue ? "true" : "false";
    case Type::NONE:
        return "nothing";
    default:
        return shorten(convertOption<std::string>(node));
    }
}

[[noreturn]] void reject(OptionNode const &node, Where const &where, std::string const &expected) {
    std::string const place = where.text();
    throw Exception((place.empty() ? "" : place + ": ") + "expected " + expected + ", found " + show(node));
}

std::vector<std::shared_ptr<OptionNode>> const &list(OptionNode const &node, Where const &where,
                                                     std::string const &expected) {
    if (node.type != Type::VECTOR) reject(node, where, expected);
    return node.vectorValue;
}

std::vector<std::shared_ptr<OptionNode>> const &listOf(std::size_t count, OptionNode const &node, Where const &where,
                                                       std::string const &what) {
    std::string const expected = "a list of " + std::to_string(count) + " " + what;
    auto const &items = list(node, where, expected);
    if (items.size() != count) reject(node, where, expected);
    return items;
}

/// How a type is read from a tree and written as JSON.
template <class T>
struct Codec;

template <class Integer>
requires std::is_integral_v<Integer>
struct Codec<Integer> {
    static Integer decode(OptionNode const &node, Where const &where) {
        using Limits = std::numeric_limits<Integer>;
        bool const whole = node.type == Type::INT && node.intValue >= Limits::min() && node.intValue <= Limits::max();
        if (!whole)
            reject(node, where,
                   "a whole number from " + std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()));
        return static_cast<Integer>(node.intValue);
    }
    static Json encode(Integer value) { return static_cast<std::int64_t>(value); }
};

template <>
struct Codec<float> {
    static float decode(OptionNode const &node, Where const &where) {
        if (node.type == Type::INT) return static_cast<float>(node.intValue);
        if (node.type == Type::FLOAT) {
            float const value = rounded(node);
            if (std::isinf(value) && std::isfinite(node.floatValue))
                reject(node, where, "a number that a float holds, up to 3.4028235e+38");
            return value;
        }
        if (node.type == Type::STRING) {
            if (node.stringValue == notANumber) return std::numeric_limits<float>::quiet_NaN();
            if (node.stringValue == infinite) return std::numeric_limits<float>::infinity();
            if (node.stringValue == negativeInfinite) return -std::numeric_limits<float>::infinity();
        }
        reject(node, where, "a number");
    }
    static Json encode(float value) {
        if (std::isnan(value)) return notANumber;
        if (std::isinf(value)) return value > 0 ? infinite : negativeInfinite;
        return value;
    }

private:
    /// From the digits where there are some, so that it is rounded once.
    static float rounded(OptionNode const &node) {
        float value = 0;
        char const *const end = node.text.data() + node.text.size();
        auto const [stop, error] = std::from_chars(node.text.data(), end, value);
        bool const read = !node.text.empty() && error == std::errc() && stop == end;
        return read ? value : static_cast<float>(node.floatValue);
    }
};

template <>
struct Codec<bool> {
    static bool decode(OptionNode const &node, Where const &where) {
        if (node.type != Type::BOOL) reject(node, where, "true or false");
        return node.boolValue;
    }
    static Json encode(bool value) { return value; }
};

template <>
struct Codec<std::string> {
    static std::string decode(OptionNode const &node, Where const &where) {
        if (node.type != Type::STRING) reject(node, where, "a text in quotes");
        return node.stringValue;
    }
    static Json encode(std::string const &value) { return value; }
};

template <class T, int N>
struct Codec<Vec<T, N>> {
    static Vec<T, N> decode(OptionNode const &node, Where const &where) {
        auto const &items = listOf(N, node, where, "numbers");
        Vec<T, N> value{};
        for (int i = 0; i < N; i++) {
            auto const index = static_cast<std::size_t>(i);
            value[i] = Codec<T>::decode(*items[index], {&where, index});
        }
        return value;
    }
    static Json encode(Vec<T, N> const &value) {
        Json json = Json::array();
        for (T const &element : value.elements) json.push_back(Codec<T>::encode(element));
        return json;
    }
};

template <class T>
struct Codec<Rect<T>> {
    static Rect<T> decode(OptionNode const &node, Where const &where) {
        listOf(4, node, where, "numbers: x, y, width, height");
        auto const numbers = Codec<Vec<T, 4>>::decode(node, where);
        return {numbers[0], numbers[1], numbers[2], numbers[3]};
    }
    static Json encode(Rect<T> const &rect) {
        return Codec<Vec<T, 4>>::encode({{rect.x, rect.y, rect.width, rect.height}});
    }
};

template <class T>
struct Codec<std::vector<T>> {
    static std::vector<T> decode(OptionNode const &node, Where const &where) {
        std::vector<T> values;
        for (auto const &item : list(node, where, "a list"))
            values.push_back(Codec<T>::decode(*item, {&where, values.size()}));
        return values;
    }
    static Json encode(std::vector<T> const &values) {
        Json json = Json::array();
        for (T const &value : values) json.push_back(Codec<T>::encode(value));
        return json;
    }
};

template <class T>
struct Codec<Mat<T, 1>> {
    static Mat<T, 1> decode(OptionNode const &node, Where const &where) {
        auto const &items = list(node, where, "a list");
        Mat<T, 1> const mat({static_cast<std::uint32_t>(items.size())});
        for (std::size_t i = 0; i < items.size(); i++) mat.first()[i] = Codec<T>::decode(*items[i], {&where, i});
        return mat;
    }
    static Json encode(Mat<T, 1> const &mat) {
        Json json = Json::array();
        for (std::uint32_t i = 0; i < mat.count; i++) json.push_back(Codec<T>::encode(mat.first()[i]));
        return json;
    }
};

template <class T>
struct Codec<Mat<T, 2>> {
    static Mat<T, 2> decode(OptionNode const &node, Where const &where) {
        auto const &rows = list(node, where, "a list of rows");
        if (rows.empty()) return Mat<T, 2>(Shape<2>{0, 0});
        std::size_t const columns = list(*rows[0], {&where, 0}, "a list, the first row").size();
        Mat<T, 2> const mat({static_cast<std::uint32_t>(rows.size()), static_cast<std::uint32_t>(columns)});
        for (std::size_t r = 0; r < rows.size(); r++) {
            Where const row{&where, r};
            auto const &items = listOf(columns, *rows[r], row, "elements, as in the first row");
            for (std::size_t c = 0; c < columns; c++)
                mat.first()[r * columns + c] = Codec<T>::decode(*items[c], {&row, c});
        }
        return mat;
    }
    static Json encode(Mat<T, 2> const &mat) {
        Json json = Json::array();
        T const *element = mat.first();
        for (std::uint32_t r = 0; r < mat.shape[0]; r++) {
            Json row = Json::array();
            for (std::uint32_t c = 0; c < mat.shape[1]; c++) row.push_back(Codec<T>::encode(*element++));
            json.push_back(std::move(row));
        }
        return json;
    }
};

template <>
struct Codec<Mask> {
    static Mask decode(OptionNode const &node, Where const &where) {
        auto const &parts = listOf(2, node, where, "parts: a rectangle and the rows of its mask");
        Mask const mask{Codec<Rect<int>>::decode(*parts[0], {&where, 0}),
                        Codec<Mat<unsigned char, 2>>::decode(*parts[1], {&where, 1})};
        auto const is = [](std::uint32_t extent, int side) { return std::int64_t(extent) == side; };
        bool const fits = mask.mask.count == 0 ? mask.rectangle.width == 0 || mask.rectangle.height == 0
                                               : is(mask.mask.shape[0], mask.rectangle.height) &&
                                                     is(mask.mask.shape[1], mask.rectangle.width);
        if (!fits)
            reject(*parts[1], {&where, 1},
                   std::to_string(mask.rectangle.height) + " rows of " + std::to_string(mask.rectangle.width) +
                       " elements, as the rectangle says");
        return mask;
    }
    static Json encode(Mask const &mask) {
        Json json = Json::array();
        json.push_back(Codec<Rect<int>>::encode(mask.rectangle));
        json.push_back(Codec<Mat<unsigned char, 2>>::encode(mask.mask));
        return json;
    }
};

template <class... Ts>
std::shared_ptr<Variant> decodeAs(engine::TypeList<Ts...>, engine::ValueType const &type, OptionNode const &node) {
    std::shared_ptr<Variant> result;
    auto const attempt = [&]<class T>(std::type_identity<T>) {
        if (typeid(VariantType<T>) == *type.variant)
            result = std::make_shared<VariantType<T>>(Codec<T>::decode(node, Where{}));
    };
    (attempt(std::type_identity<Ts>()), ...);
    return result;
}

template <class... Ts>
Json encodeAs(engine::TypeList<Ts...>, Variant const &value) {
    Json result;
    bool known = false;
    auto const attempt = [&]<class T>(std::type_identity<T>) {
        auto const *const held = dynamic_cast<VariantType<T> const *>(&value);
        if (held == nullptr) return;
        result = Codec<T>::encode(held->value);
        known = true;
    };
    (attempt(std::type_identity<Ts>()), ...);
    if (!known) throw Exception("a value of type " + demangle(typeid(value)) + " can't be written as a record");
    return result;
}

/// Builds the tree while the text is read.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    OptionNode root;
    std::string problem;

    bool null() override { return refuse("null is no value"); }
    bool boolean(bool value) override { return add(OptionNode::ofBool(value)); }
    bool number_integer(std::int64_t value) override { return add(OptionNode::ofInt(value)); }
    bool number_unsigned(std::uint64_t value) override {
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return add(OptionNode::ofFloat(static_cast<double>(value), std::to_string(value)));
        return add(OptionNode::ofInt(static_cast<std::int64_t>(value)));
    }
    bool number_float(double value, std::string const &text) override { return add(OptionNode::ofFloat(value, text)); }
    bool string(std::string &value) override { return add(OptionNode::ofString(std::move(value))); }
    bool binary(nlohmann::json::binary_t &) override { return refuse("bytes are no value"); }
    bool start_object(std::size_t) override { return refuse("there are no objects ({...}) in records, only lists"); }
    bool key(std::string &) override { return false; }
    bool end_object() override { return false; }
    bool start_array(std::size_t) override {
        constexpr std::size_t deepest = 16;
        if (open.size() == deepest) return refuse("the lists are nested deeper than those of any value");
        open.push_back(OptionNode::ofVector({}));
        return true;
    }
    bool end_array() override {
        OptionNode complete = std::move(open.back());
        open.pop_back();
        return add(std::move(complete));
    }
    bool parse_error(std::size_t position, std::string const &token,
                     nlohmann::detail::exception const &error) override {
        constexpr int numberOverflow = 406;
        if (error.id == numberOverflow) return refuse("the number " + token + " is too large");
        return refuse(noJsonFrom(position));
    }

    static std::string noJsonFrom(std::size_t position) {
        return "this is no JSON from character " + std::to_string(position) + " on";
    }

private:
    bool refuse(std::string const &why) {
        if (problem.empty()) problem = (open.empty() ? "" : place() + ": ") + why;
        return false;
    }
    std::string place() const {
        std::string text;
        for (OptionNode const &list : open) text += "[" + std::to_string(list.vectorValue.size()) + "]";
        return text;
    }
    bool add(OptionNode node) {
        if (open.empty())
            root = std::move(node);
        else
            open.back().vectorValue.push_back(std::make_shared<OptionNode>(std::move(node)));
        return true;
    }

    std::vector<OptionNode> open;
};

} // namespace

std::shared_ptr<Variant> decodeValue(OptionNode const &value, std::string const &typeExpression) {
    engine::ValueType const *const type = engine::valueTypeNamed(typeExpression);
    if (type == nullptr) throw Exception("'" + typeExpression + "' is no type of values");
    return decodeAs(engine::StreamTypes(), *type, value);
}

std::string encodeValue(Variant const &value) {
    try {
        return encodeAs(engine::StreamTypes(), value).dump();
    } catch (Json::exception const &) { // the only way in which writing fails
        throw Exception("a text that is not UTF-8 can't be written as a record");
    }
}

OptionNode parseJson(std::string_view text) {
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) throw Exception("there is no value");
    // The parser takes a null character for the end of the text.
    if (std::size_t const null = text.find('\0'); null != std::string_view::npos)
        throw Exception(TreeBuilder::noJsonFrom(null + 1));
    TreeBuilder tree;
    if (!nlohmann::json::sax_parse(text, &tree)) throw Exception(tree.problem);
    return std::move(tree.root);
}

} // namespace zun::media
