#include "media/records/RecordText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "media/records/Fields.h"
#include "pipeline/types/Record.h"

namespace zun::media {
namespace {

/// Writes a record as JSON while it is taken apart.
class JsonWriter final : public RecordSink {
public:
    std::string text;

    void beginList() override {
        separate();
        text += '[';
    }
    void endList() override { text += ']'; }
    void write(bool value) override { append(value ? "true" : "false"); }
    void write(std::int64_t value) override { append(std::to_string(value)); }
    void write(float value) override { writeNumber(value); }
    void write(double value) override { writeNumber(value); }
    void write(std::string_view value) override { append(nlohmann::json(value).dump()); }

private:
    template <class Float>
    void writeNumber(Float value) {
        if (std::isnan(value)) return append(R"("NaN")");
        if (std::isinf(value)) return append(value > 0 ? R"("Infinity")" : R"("-Infinity")");
        // The digits are those of nlohmann's dump(), which knows one floating-point type only.
        std::array<char, 64> digits;
        char const *const end = nlohmann::detail::to_chars(digits.data(), digits.data() + digits.size(), value);
        append({digits.data(), static_cast<std::size_t>(end - digits.data())});
    }

    void append(std::string_view scalar) {
        separate();
        text += scalar;
    }

    void separate() {
        if (!text.empty() && text.back() != '[') text += ',';
    }
};

/// Builds the tree while the text is read.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    OptionNode root;
    std::string problem;

    bool null() override { return refuse("null is not a value"); }
    bool boolean(bool value) override { return add(OptionNode::ofBool(value)); }
    bool number_integer(std::int64_t value) override { return add(OptionNode::ofInt(value)); }
    bool number_unsigned(std::uint64_t value) override {
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return add(OptionNode::ofFloat(static_cast<double>(value), std::to_string(value)));
        return add(OptionNode::ofInt(static_cast<std::int64_t>(value)));
    }
    bool number_float(double value, std::string const &text) override { return add(OptionNode::ofFloat(value, text)); }
    bool string(std::string &value) override { return add(OptionNode::ofString(std::move(value))); }
    bool binary(nlohmann::json::binary_t &) override { return refuse("bytes are not a value"); }
    bool start_object(std::size_t) override {
        return refuse("a record has lists, and no objects ({...}); option 'field' of ReadRecords takes one field of an "
                      "object");
    }
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
        return refuse(notJsonFrom(position));
    }

    static std::string notJsonFrom(std::size_t position) {
        return "not JSON from character " + std::to_string(position) + " on";
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

/// Takes one field of an object, and passes over the others.
class FieldBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit FieldBuilder(std::string const &fieldName) : field(fieldName) {}

    std::string problem() const { return fault.empty() ? "field '" + field + "': " + tree.problem : fault; }

    OptionNode take() {
        if (!found)
            throw Exception("the object has no field '" + field + "'" + (known.empty() ? "" : "; it has" + known));
        return std::move(tree.root);
    }

    bool null() override {
        return forward([&] { return tree.null(); });
    }
    bool boolean(bool value) override {
        return forward([&] { return tree.boolean(value); });
    }
    bool number_integer(std::int64_t value) override {
        return forward([&] { return tree.number_integer(value); });
    }
    bool number_unsigned(std::uint64_t value) override {
        return forward([&] { return tree.number_unsigned(value); });
    }
    bool number_float(double value, std::string const &text) override {
        return forward([&] { return tree.number_float(value, text); });
    }
    bool string(std::string &value) override {
        return forward([&] { return tree.string(value); });
    }
    bool binary(nlohmann::json::binary_t &) override { return false; }
    bool start_object(std::size_t count) override {
        if (depth++ == 0) return true;
        return !taking || tree.start_object(count);
    }
    bool key(std::string &name) override {
        if (depth > 1) return true;
        taking = name == field;
        constexpr std::size_t longest = 200;
        if (known.size() < longest) known += (known.empty() ? " '" : ", '") + name + "'";
        if (taking && std::exchange(found, true)) return refuse("the object has field '" + field + "' twice");
        return true;
    }
    bool end_object() override {
        depth--;
        return true;
    }
    bool start_array(std::size_t count) override {
        if (depth == 0) return refuseOther();
        depth++;
        return !taking || tree.start_array(count);
    }
    bool end_array() override {
        depth--;
        return !taking || tree.end_array();
    }
    bool parse_error(std::size_t position, std::string const &token,
                     nlohmann::detail::exception const &error) override {
        tree.parse_error(position, token, error);
        return refuse(tree.problem);
    }

private:
    bool forward(auto const &scalar) {
        if (depth == 0) return refuseOther();
        return !taking || scalar();
    }
    bool refuseOther() { return refuse("expected an object ({...}) with field '" + field + "'"); }
    bool refuse(std::string const &why) {
        fault = why;
        return false;
    }

    std::string const &field;
    std::string fault, known;
    TreeBuilder tree;
    std::size_t depth = 0; ///< of lists and objects
    bool taking = false, found = false;
};

/// Throws for a text without a value, and for one that the parser would take for a shorter one.
void requireOneText(std::string_view text) {
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) throw Exception("there is no value");
    // The parser takes a null character for the end of the text.
    if (std::size_t const null = text.find('\0'); null != std::string_view::npos)
        throw Exception(TreeBuilder::notJsonFrom(null + 1));
}

std::string written(auto const &write) {
    JsonWriter writer;
    try {
        write(writer);
    } catch (nlohmann::json::exception const &) { // the only way in which writing JSON fails
        throw Exception("a text that is not UTF-8 can't be written as a record");
    }
    return std::move(writer.text);
}

std::string objectText(Fields const &fields) {
    std::string text;
    for (Fields::Field const &field : fields.list) try {
            text += text.empty() ? "{" : ",";
            text += recordText(RecordTree{field.name}) + ":";
            text += field.value == nullptr ? recordText(field.scalar) : recordText(*field.value);
        } catch (Exception const &error) {
            throw Exception("field '" + field.name + "': " + error.what());
        }
    return (text.empty() ? "{" : text) + "}";
}

} // namespace

std::string recordText(Variant const &value) {
    if (auto const *const fields = dynamic_cast<VariantType<Fields> const *>(&value)) return objectText(fields->value);
    ValueType const &type = recordTypeOf(value);
    return written([&](RecordSink &sink) { type.writeRecord(value, sink); });
}

std::string recordText(RecordTree const &tree) {
    return written([&](RecordSink &sink) { writeTree(tree, sink); });
}

std::string plainText(RecordTree const &tree) {
    if (std::string const *const text = tree.text()) return *text;
    std::string text = recordText(tree);
    bool const isQuoted = tree.isNumber() && text.front() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

void requireUtf8(std::string const &text) {
    auto const isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (!std::all_of(text.begin(), text.end(), isAscii)) recordText(RecordTree{text});
}

OptionNode parseJson(std::string_view text) {
    requireOneText(text);
    TreeBuilder tree;
    if (!nlohmann::json::sax_parse(text, &tree)) throw Exception(tree.problem);
    return std::move(tree.root);
}

OptionNode parseJsonField(std::string_view text, std::string const &field) {
    requireOneText(text);
    FieldBuilder object(field);
    if (!nlohmann::json::sax_parse(text, &object)) throw Exception(object.problem());
    return object.take();
}

ValueType const &recordType(std::string const &typeExpression) {
    ValueType const *const type = valueTypeNamed(typeExpression);
    if (type == nullptr) throw Exception("'" + typeExpression + "' is not a known type of values");
    if (type->readRecord == nullptr)
        throw Exception("a value of type " + type->spelling + " can't be read from a record");
    return *type;
}

std::shared_ptr<Variant> valueOfRecord(OptionNode const &record, std::string const &typeExpression) {
    return recordType(typeExpression).readRecord(record);
}

} // namespace zun::media
