#include "media/records/RecordTree.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/TypeMismatch.h"
#include "pipeline/types/TypeExpression.h"

namespace zun::media {
namespace {

/// Builds the tree while a value is written.
class TreeSink final : public RecordSink {
public:
    RecordTree root;

    void beginList() override { open.emplace_back(); }
    void endList() override {
        RecordTree complete{std::move(open.back())};
        open.pop_back();
        add(std::move(complete));
    }
    void write(bool value) override { add({value}); }
    void write(std::int64_t value) override { add({value}); }
    void write(float value) override { add({value}); }
    void write(double value) override { add({value}); }
    void write(std::string_view value) override { add({std::string(value)}); }

private:
    void add(RecordTree tree) {
        if (open.empty())
            root = std::move(tree);
        else
            open.back().push_back(std::move(tree));
    }

    std::vector<RecordTree::List> open;
};

/// What stands between `before` and `after`; nothing where the expression isn't of this form.
std::string_view between(std::string_view expression, std::string_view before, std::string_view after) {
    if (!expression.starts_with(before) || !expression.ends_with(after)) return {};
    expression.remove_prefix(before.size());
    expression.remove_suffix(after.size());
    return expression;
}

std::vector<std::string> partsOf(std::string_view element) {
    if (element.starts_with("zun::Rect<")) return {"x", "y", "width", "height"};
    if (element == "zun::Vec<int, 4>") return {"x0", "y0", "x1", "y1"}; // the ends of a line segment
    if (element == "zun::media::FrameSource") return {"file", "number", "time"};
    if (!element.starts_with("zun::Vec<")) return {};
    if (element.ends_with(", 2>")) return {"x", "y"};
    std::vector<std::string> numbered;
    for (char i = '0'; i < element[element.size() - 2]; i++) numbered.emplace_back(1, i);
    return numbered;
}

std::string elements(std::size_t count) { return std::to_string(count) + (count == 1 ? " element" : " elements"); }

std::string joined(std::vector<std::string> const &words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); i++)
        text += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
    return text;
}

} // namespace

double RecordTree::number() const {
    return std::visit(
        [](auto const &held) -> double {
            if constexpr (std::is_arithmetic_v<std::remove_cvref_t<decltype(held)>>) return static_cast<double>(held);
            return 0;
        },
        value);
}

ValueType const &recordTypeOf(Variant const &value) {
    ValueType const *const type = valueTypeOf(value);
    if (type == nullptr || type->writeRecord == nullptr)
        throw Exception("a value of type " + (type == nullptr ? demangle(typeid(value)) : type->spelling) +
                        " can't be written as a record");
    return *type;
}

RecordTree treeOf(Variant const &value) {
    TreeSink sink;
    recordTypeOf(value).writeRecord(value, sink);
    return std::move(sink.root);
}

void writeTree(RecordTree const &tree, RecordSink &sink) {
    if (RecordTree::List const *const list = tree.list()) {
        sink.beginList();
        for (RecordTree const &item : *list) writeTree(item, sink);
        sink.endList();
        return;
    }
    std::visit(
        [&](auto const &held) {
            if constexpr (!std::is_same_v<decltype(held), RecordTree::List const &>) sink.write(held);
        },
        tree.value);
}

Division divisionOf(ValueType const &type) {
    std::string_view element = between(type.expression, "zun::List<", ">");
    if (element.empty()) element = between(type.expression, "zun::Mat<", ", 1>");
    bool const isList = !element.empty();
    if (!isList) element = type.expression;
    return {isList, partsOf(element), usualSpelling(std::string(element))};
}

Column::Column(std::string const &columnName, Variant const &value)
    : title(columnName), divided(divisionOf(recordTypeOf(value))), tree(treeOf(value)) {
    divided.isList = divided.isList && tree.list() != nullptr;
}

Column::Column(std::string const &columnName, RecordTree scalar) : title(columnName), tree(std::move(scalar)) {}

std::size_t Column::count() const { return divided.isList ? tree.list()->size() : 1; }

RecordTree const &Column::element(std::size_t index) const { return divided.isList ? (*tree.list())[index] : tree; }

ColumnPart::ColumnPart(Column const &elements, std::string_view part) : column(elements) {
    if (part.empty()) return;
    Division const &division = column.division();
    auto const found = std::find(division.parts.begin(), division.parts.end(), part);
    kind = Kind::Part;
    place = static_cast<std::size_t>(found - division.parts.begin());
    if (found != division.parts.end()) return;
    bool const isBox = division.element == "zun::Box" || division.element.starts_with("zun::Rect<");
    if (isBox && part == "area") {
        kind = Kind::Area;
        return;
    }
    std::vector<std::string> known = division.parts;
    if (isBox) known.push_back("area");
    throw Exception("'" + column.name() + "' holds " + division.element + ", which has no part '" + std::string(part) +
                    (known.empty() ? "': it is one whole" : "': its parts are " + joined(known)));
}

RecordTree ColumnPart::of(std::size_t index) const {
    RecordTree const &element = column.element(index);
    if (kind == Kind::Whole) return element;
    RecordTree::List const *const parts = element.list();
    if (parts == nullptr || parts->size() != column.division().parts.size())
        throw Exception("'" + column.name() + "': an element is not written as its parts");
    if (kind == Kind::Part) return (*parts)[place];
    return {(*parts)[2].number() * (*parts)[3].number()};
}

void Steps::add(std::string const &name, std::size_t length) {
    if (any && length != steps)
        throw Exception("lists have to be in step, but " + std::string(kind) + " '" + first + "' has " +
                        elements(steps) + ", and " + kind + " '" + name + "' has " + elements(length));
    if (!any) first = name;
    steps = length;
    any = true;
}

} // namespace zun::media
