// Makes texts of numbers, boxes, points and texts by a format, one for each element of lists.
//
//   - type: FormatTexts
//     inputs: {first: areas, second: boxes}
//     outputs: {texts: labels}
//     options: {format: "{count}: {areas} px, {boxes.width:.0} wide"}
//
// Placeholders are the names of the streams or inputs, with the parts of boxes and points; {index} and {count}, from 0
// and from 1; {total}; {tick}; and {name}, {stem}, {parent}, {number} and {time} of
// the frame. See media/TextFormat.h.

#include <array>
#include <optional>
#include <vector>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/Source.h"
#include "media/records/Elements.h"
#include "media/records/TextFormat.h"
#include "media/writing/OutputName.h"
#include "node/Registration.h"

namespace zun::media {

class FormatTexts : public Node {
    std::string format;
    InputStream<Variant> first, second, third, fourth;
    InputStream<FrameSource> source;
    OutputStream<std::vector<std::string>> texts;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "FormatTexts",
                                      .sourcePath = "media/FormatTexts",
                                      .classCode = 1,
                                      .summary = "Makes texts of numbers, boxes, points and texts by a format"};
        static constexpr auto inputs =
            rows(input("first", "any", &FormatTexts::first, "values or lists of values; lists are in step"),
                 optionalInput("second", "any", &FormatTexts::second, "further values or lists"),
                 optionalInput("third", "any", &FormatTexts::third, "further values or lists"),
                 optionalInput("fourth", "any", &FormatTexts::fourth, "further values or lists"),
                 optionalInput("source", "zun::media::FrameSource", &FormatTexts::source,
                               "file, number and time of each frame; \"-\" to do without")
                     .besideFrames());
        static constexpr auto outputs = rows(output("texts", "zun::List<std::string>", &FormatTexts::texts,
                                                    "one for each element of the lists; one where there is no list"));
        static constexpr auto options =
            rows(requiredOption("format", "std::string", &FormatTexts::format,
                                "the text, with placeholders: {STREAM}, {STREAM.x}, {STREAM:.1}, {index}, {count}, "
                                "{total}, {tick}, {name}, {stem}, {parent}, {number}, {time}; {{ and }} for braces"));
    };

    void initialize() override {
        if (std::string const why = problem(); !why.empty()) throw Exception(why);
    }

    void process(Tick tick) override {
        TextFormat const parsed(format, names());
        Steps steps("stream");
        std::vector<std::optional<Column>> columns(ports.size());
        for (std::size_t i = 0; i < ports.size(); i++) {
            InputStream<Variant> const &stream = this->*ports[i];
            if (!stream.connected()) continue;
            std::shared_ptr<Variant> const value = readStream(tick, stream);
            if (auto const length = elementCount(*value)) steps.add(stream.name, *length);
            if (parsed.uses(i)) columns[i].emplace(stream.name, *value);
        }
        std::vector<Filler> fillers;
        for (TextFormat::Piece const &piece : parsed.pieces())
            if (piece.field) fillers.push_back(filler(*piece.field, tick, steps.count(), columns));
        writeStream(tick, texts, filledIn(parsed, fillers, steps.count()));
    }

    Forecast forecast() const {
        Forecast forecast;
        if (std::string const why = problem(); !why.empty()) forecast.problems.push_back(why);
        return forecast;
    }

private:
    static constexpr std::array ports{&FormatTexts::first, &FormatTexts::second, &FormatTexts::third,
                                      &FormatTexts::fourth};

    // The names that follow those of streams and ports.
    enum Word : std::size_t { Index, Count, Total, AtTick, Name, Stem, Parent, Number, Time };
    static constexpr std::array words{"index", "count", "total", "tick", "name", "stem", "parent", "number", "time"};
    static constexpr std::size_t firstWord = ports.size();

    /// What fills one placeholder in: a part of a column, a count from `begin` on, or the same everywhere.
    struct Filler {
        std::optional<ColumnPart> part;
        std::optional<std::int64_t> begin;
        RecordTree constant;

        RecordTree of(std::size_t index) const {
            if (part) return part->of(index);
            return begin ? RecordTree{*begin + static_cast<std::int64_t>(index)} : constant;
        }
    };

    /// A stream goes before a port of the same name, and a port before the other words.
    std::vector<TextFormat::Name> names() const {
        std::vector<TextFormat::Name> all;
        for (std::size_t i = 0; i < ports.size(); i++)
            if ((this->*ports[i]).connected()) all.push_back({(this->*ports[i]).name, i});
        for (std::size_t i = 0; i < ports.size(); i++)
            if ((this->*ports[i]).connected() && (this->*ports[i]).name != (this->*ports[i]).portName)
                all.push_back({(this->*ports[i]).portName, i});
        for (std::size_t i = 0; i < words.size(); i++) all.push_back({words[i], firstWord + i});
        return all;
    }

    std::string problem() const {
        try {
            TextFormat const parsed(format, names());
            for (TextFormat::Piece const &piece : parsed.pieces()) {
                if (!piece.field || piece.field->name < firstWord) continue;
                std::size_t const word = piece.field->name - firstWord;
                std::string const place = "format '" + format + "': {" + words[word] + "} ";
                if (!piece.field->part.empty()) return place + "has no part '" + piece.field->part + "'";
                if (word >= Name && !source.connected())
                    return place + "needs frames of ReadFrames, and none of the inputs comes from there; connect input "
                                   "'source' to its output 'source'";
            }
            return "";
        } catch (Exception const &error) {
            return error.what();
        }
    }

    Filler filler(TextFormat::Field const &field, Tick tick, std::size_t total,
                  std::vector<std::optional<Column>> const &columns) {
        if (field.name < firstWord) return {ColumnPart(*columns[field.name], field.part), {}, {}};
        switch (static_cast<Word>(field.name - firstWord)) {
        case Index:
            return {{}, 0, {}};
        case Count:
            return {{}, 1, {}};
        case Total:
            return {{}, {}, {static_cast<std::int64_t>(total)}};
        case AtTick:
            return {{}, {}, {static_cast<std::int64_t>(tick)}};
        default:
            return {{}, {}, ofSource(static_cast<Word>(field.name - firstWord), readStream(tick, source))};
        }
    }

    static RecordTree ofSource(Word word, FrameSource const &frame) {
        if (word == Number) return {static_cast<std::int64_t>(frame.number)};
        if (word != Time) return {OutputName(std::string("{") + words[word] + "}").file(0, &frame)};
        return {frame.seconds()};
    }

    std::vector<std::string> filledIn(TextFormat const &parsed, std::vector<Filler> const &fillers,
                                      std::size_t count) const {
        std::vector<std::string> all(count);
        for (std::size_t i = 0; i < count; i++) {
            auto filler = fillers.begin();
            for (TextFormat::Piece const &piece : parsed.pieces()) {
                all[i] += piece.literal;
                if (piece.field) all[i] += piece.field->text((filler++)->of(i));
            }
        }
        return all;
    }
};

void registerFormatTexts() { static Registration<FormatTexts> const once; }

} // namespace zun::media
