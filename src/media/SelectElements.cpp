// Takes elements out of lists that are in step: those whose key is in a range, in the order of their keys, and of
// these a part.
//
//   - type: SelectElements
//     inputs: {first: areas, second: boxes}
//     outputs: {first: largeAreas, second: largeBoxes}
//     options: {by: areas, least: 100, sort: descending, count: 10}

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/records/Elements.h"
#include "media/records/RecordTree.h"
#include "node/Registration.h"
#include "pipeline/NearestName.h"

namespace zun::media {

class SelectElements : public Node {
    std::string by, sort;
    OptionNode least, most;
    int begin = 0, count = -1;
    InputStream<Variant> first, second, third, fourth;
    OutputStream<Variant> firstOut, secondOut, thirdOut, fourthOut;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "SelectElements",
                                      .sourcePath = "media/SelectElements",
                                      .classCode = 1,
                                      .summary = "Filters, sorts and cuts lists, others in step"};
        static constexpr auto inputs = rows(input("first", "any", &SelectElements::first, "a list of any type"),
                                            optionalInput("second", "any", &SelectElements::second, "one in step"),
                                            optionalInput("third", "any", &SelectElements::third, "one in step"),
                                            optionalInput("fourth", "any", &SelectElements::fourth, "one in step"));
        static constexpr auto outputs =
            rows(output("first", "any", &SelectElements::firstOut, "elements of the first list, of the same type"),
                 output("second", "any", &SelectElements::secondOut, "those of the second list"),
                 output("third", "any", &SelectElements::thirdOut, "those of the third list"),
                 output("fourth", "any", &SelectElements::fourthOut, "those of the fourth list"));
        static constexpr auto options = rows(
            option("by", "std::string", "first", &SelectElements::by,
                   "the key: a stream or input, or a part of its elements, such as boxes.width or boxes.area"),
            option("least", "any", "none", &SelectElements::least, "the smallest key that is kept; none: any"),
            option("most", "any", "none", &SelectElements::most, "the largest key that is kept; none: any"),
            option("sort", "std::string", "none", &SelectElements::sort, "none, ascending or descending"),
            option("begin", "int", "0", &SelectElements::begin,
                   "the first element of those that are left; -3: the third from the end"),
            option("count", "int", "-1", &SelectElements::count, "how many from there on; -1 for all").atLeast(-1));
    };

    void initialize() override {
        if (std::string const why = problem(); !why.empty()) throw Exception(why);
    }

    void process(Tick tick) override {
        std::array<std::shared_ptr<Variant>, ports.size()> lists;
        Steps steps("stream");
        for (std::size_t i = 0; i < ports.size(); i++) {
            InputStream<Variant> const &stream = this->*ports[i].in;
            if (!stream.connected()) continue;
            lists[i] = readStream(tick, stream);
            auto const length = elementCount(*lists[i]);
            if (!length)
                throw Exception("stream '" + stream.name + "' holds " + valueTypeName(*lists[i]) +
                                ", which is not a list");
            steps.add(stream.name, *length);
        }
        std::vector<std::size_t> places(steps.count());
        std::iota(places.begin(), places.end(), std::size_t(0));
        if (usesKey()) orderByKey(places, *lists[keyOf(by).port], keyOf(by));
        cut(places);
        for (std::size_t i = 0; i < ports.size(); i++)
            if ((this->*ports[i].out).connected())
                writeStream(tick, this->*ports[i].out, pickElements(*lists[i], places));
    }

    Forecast forecast() const {
        Forecast forecast;
        if (std::string const why = problem(); !why.empty()) forecast.problems.push_back(why);
        return forecast;
    }

private:
    struct Port {
        InputStream<Variant> SelectElements::*in;
        OutputStream<Variant> SelectElements::*out;
        char const *name;
    };
    static constexpr std::array ports{Port{&SelectElements::first, &SelectElements::firstOut, "first"},
                                      Port{&SelectElements::second, &SelectElements::secondOut, "second"},
                                      Port{&SelectElements::third, &SelectElements::thirdOut, "third"},
                                      Port{&SelectElements::fourth, &SelectElements::fourthOut, "fourth"}};

    struct Key {
        std::size_t port = ports.size(); ///< none
        std::string part;
    };

    /// The end of a range; nothing for "none". Throws for what is not a number.
    static std::optional<double> bound(char const *option, OptionNode const &given) {
        using Type = OptionNode::Type;
        if (given.type == Type::STRING && given.stringValue == "none") return std::nullopt;
        if (given.type == Type::INT) return static_cast<double>(given.intValue);
        if (given.type == Type::FLOAT && !std::isnan(given.floatValue)) return given.floatValue;
        throw Exception(std::string("option ") + option + ": expected a number or none");
    }

    /// Compared as floats where the key is one, so that 0.1 is in the range up to 0.1.
    static bool isInRange(RecordTree const &key, std::optional<double> const &low, std::optional<double> const &high) {
        auto const rounded = [&](double number) {
            return std::holds_alternative<float>(key.value) ? static_cast<double>(static_cast<float>(number)) : number;
        };
        double const number = key.number();
        return !std::isnan(number) && (!low || number >= rounded(*low)) && (!high || number <= rounded(*high));
    }

    bool hasRange() const { return bound("least", least) || bound("most", most); }
    bool isSorted() const { return sort != "none"; }
    bool usesKey() const { return hasRange() || isSorted(); }

    std::string problem() const {
        if (sort != "none" && sort != "ascending" && sort != "descending")
            return "option sort: '" + sort + "' is not none, ascending or descending";
        for (Port const &port : ports)
            if ((this->*port.out).connected() && !(this->*port.in).connected())
                return "output '" + std::string(port.name) + "' has nothing to give: connect input '" + port.name + "'";
        try {
            if (!usesKey() || keyOf(by).port < ports.size()) return "";
        } catch (Exception const &error) {
            return error.what();
        }
        std::vector<std::string> known;
        for (Port const &port : ports)
            if ((this->*port.in).connected()) known.push_back((this->*port.in).name);
        std::string text;
        for (std::string const &name : known) text += (text.empty() ? "'" : ", '") + name + "'";
        return "option by: '" + by + "' is not one of the streams " + text + " or a part of one" +
               suggestion(by.substr(0, by.find('.')), known);
    }

    /// The longest name of a stream, or else of an input, that the text begins with, and the part after it.
    Key keyOf(std::string_view text) const {
        Key key;
        std::size_t longest = 0;
        auto const consider = [&](std::size_t port, std::string_view name) {
            if (!(this->*ports[port].in).connected() || name.size() <= longest || !text.starts_with(name)) return;
            std::string_view const rest = text.substr(name.size());
            if (!rest.empty() && rest[0] != '.') return;
            key = {port, std::string(rest.substr(rest.empty() ? 0 : 1))};
            longest = name.size();
        };
        for (std::size_t i = 0; i < ports.size(); i++) consider(i, (this->*ports[i].in).name);
        for (std::size_t i = 0; i < ports.size(); i++) consider(i, ports[i].name);
        return key;
    }

    void orderByKey(std::vector<std::size_t> &places, Variant const &list, Key const &key) const {
        Column const column((this->*ports[key.port].in).name, list);
        ColumnPart const part(column, key.part);
        std::vector<RecordTree> keys;
        keys.reserve(places.size());
        for (std::size_t const place : places) keys.push_back(part.of(place));
        if (!std::all_of(keys.begin(), keys.end(), [](RecordTree const &one) { return one.isNumber(); }))
            throw Exception("option by: '" + by +
                            "' is not a number; name a stream of numbers, or a part such as boxes.area");
        std::optional<double> const low = bound("least", least), high = bound("most", most);
        if (low || high) std::erase_if(places, [&](std::size_t place) { return !isInRange(keys[place], low, high); });
        if (!isSorted()) return;
        bool const descends = sort == "descending";
        std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
            double const x = keys[a].number(), y = keys[b].number();
            if (std::isnan(x) || std::isnan(y)) return !std::isnan(x);
            return descends ? x > y : x < y;
        });
    }

    void cut(std::vector<std::size_t> &places) const {
        auto const size = static_cast<std::int64_t>(places.size());
        std::int64_t const from =
            begin < 0 ? std::max<std::int64_t>(size + begin, 0) : std::min<std::int64_t>(begin, size);
        std::int64_t const end = count < 0 ? size : std::min(size, from + count);
        places.erase(places.begin() + end, places.end());
        places.erase(places.begin(), places.begin() + from);
    }

    static std::string valueTypeName(Variant const &value) {
        ValueType const *const type = valueTypeOf(value);
        return type == nullptr ? "a value of an unknown type" : type->spelling;
    }
};

void registerSelectElements() { static Registration<SelectElements> const once; }

} // namespace zun::media
