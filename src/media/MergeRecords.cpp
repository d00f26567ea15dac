// Puts the values of several streams into one record a tick, under the names of the streams.
//
//   - type: MergeRecords
//     inputs: {first: boxes, second: areas}
//     outputs: {record: coins}
//
// WriteRecords writes it as one object,
// {"tick":0,"name":"coins.png","number":0,"time":0.0,"boxes":[...],"areas":[...]}, or as rows of a table. Option `with`
// says what comes before the streams.

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/Source.h"
#include "media/records/Fields.h"
#include "media/writing/OutputName.h"
#include "node/Registration.h"

namespace zun::media {

class MergeRecords : public Node {
    OptionNode with;
    InputStream<Variant> first, second, third, fourth, fifth, sixth, seventh, eighth;
    InputStream<FrameSource> source;
    OutputStream<Fields> record;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "MergeRecords",
                                      .sourcePath = "media/MergeRecords",
                                      .classCode = 1,
                                      .summary = "Puts the values of several streams into one record"};
        static constexpr auto inputs =
            rows(input("first", "any", &MergeRecords::first, "a value, or a record of another MergeRecords"),
                 optionalInput("second", "any", &MergeRecords::second, "a further value"),
                 optionalInput("third", "any", &MergeRecords::third, "a further value"),
                 optionalInput("fourth", "any", &MergeRecords::fourth, "a further value"),
                 optionalInput("fifth", "any", &MergeRecords::fifth, "a further value"),
                 optionalInput("sixth", "any", &MergeRecords::sixth, "a further value"),
                 optionalInput("seventh", "any", &MergeRecords::seventh, "a further value"),
                 optionalInput("eighth", "any", &MergeRecords::eighth, "a further value"),
                 optionalInput("source", "zun::media::FrameSource", &MergeRecords::source,
                               "file, number and time of each frame; \"-\" to do without")
                     .besideFrames());
        static constexpr auto outputs = rows(output("record", "zun::media::Fields", &MergeRecords::record,
                                                    "a field for each input, under the name of its stream"));
        static constexpr auto options = rows(option(
            "with", "any", "auto", &MergeRecords::with,
            "what else: a list of tick, name, stem, parent, file, number, time; auto: tick, and, of frames that were "
            "read, name, number and time; []: nothing"));
    };

    void initialize() override {
        if (std::string const why = problem(); !why.empty()) throw Exception(why);
    }

    void process(Tick tick) override {
        Fields fields;
        for (std::string const &word : words()) fields.add({word, nullptr, extra(word, tick)});
        for (auto const port : ports)
            if ((this->*port).connected()) add(fields, (this->*port).name, readStream(tick, this->*port));
        writeStream(tick, record, std::move(fields));
    }

    Forecast forecast() const {
        Forecast forecast;
        if (std::string const why = problem(); !why.empty()) forecast.problems.push_back(why);
        return forecast;
    }

private:
    static constexpr std::array ports{&MergeRecords::first,   &MergeRecords::second, &MergeRecords::third,
                                      &MergeRecords::fourth,  &MergeRecords::fifth,  &MergeRecords::sixth,
                                      &MergeRecords::seventh, &MergeRecords::eighth};

    /// What option `with` asks for, whether it is known or not.
    std::vector<std::string> words() const {
        using Type = OptionNode::Type;
        if (with.type == Type::STRING && with.stringValue != "auto") return {with.stringValue};
        if (with.type == Type::STRING)
            return source.connected() ? std::vector<std::string>{"tick", "name", "number", "time"}
                                      : std::vector<std::string>{"tick"};
        if (with.type != Type::VECTOR) return {with.text};
        std::vector<std::string> list;
        for (auto const &word : with.vectorValue)
            list.push_back(word->type == Type::STRING ? word->stringValue : word->text);
        return list;
    }

    std::string problem() const {
        Fields fields; // without values, to find names that are there twice
        try {
            for (std::string const &word : words()) {
                static constexpr std::array known{"tick", "name", "stem", "parent", "file", "number", "time"};
                if (std::find(known.begin(), known.end(), word) == known.end())
                    return "option with: '" + word + "' is not auto, tick, name, stem, parent, file, number or time";
                if (word != "tick" && !source.connected())
                    return "option with: '" + word +
                           "' needs frames of ReadFrames, and none of the inputs comes from there; connect input "
                           "'source' to its output 'source'";
                fields.add({word, nullptr, {}});
            }
            for (auto const port : ports)
                if ((this->*port).connected()) fields.add({(this->*port).name, nullptr, {}});
            return "";
        } catch (Exception const &error) {
            return error.what();
        }
    }

    RecordTree extra(std::string const &word, Tick tick) {
        if (word == "tick") return {static_cast<std::int64_t>(tick)};
        FrameSource const frame = readStream(tick, source);
        if (word == "file") return {frame.file};
        if (word == "number") return {static_cast<std::int64_t>(frame.number)};
        if (word == "time") return {frame.seconds()};
        return {OutputName("{" + word + "}").file(tick, &frame)};
    }

    /// A record that was merged before gives its own fields.
    static void add(Fields &fields, std::string const &name, std::shared_ptr<Variant> value) {
        auto const *const merged = dynamic_cast<VariantType<Fields> const *>(value.get());
        if (merged == nullptr) return fields.add({name, std::move(value), {}});
        for (Fields::Field const &field : merged->value.list) fields.add(field);
    }
};

void registerMergeRecords() { static Registration<MergeRecords> const once; }

} // namespace zun::media
