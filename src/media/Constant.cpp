// Gives one value, written in the description, at every tick.
//
//   - type: Constant
//     outputs: {value: box}
//     options: {type: "zun::Box", value: [10, 20, 300, 200]}

#include <memory>

#include "containers/Exception.h"
#include "media/RecordText.h"
#include "media/Registrations.h"
#include "node/Registration.h"

namespace zun::media {

class Constant : public Node {
    std::string type;
    OptionNode given;
    OutputStream<Variant> value;

    std::shared_ptr<Variant> decoded;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "Constant",
                                      .sourcePath = "media/Constant",
                                      .classCode = 1,
                                      .summary = "Gives one value, written in the description, at every tick"};
        static constexpr auto inputs = rows();
        static constexpr auto outputs = rows(output("value", "any", &Constant::value, "the value").typeFrom("type"));
        static constexpr auto options = rows(
            requiredOption("type", "std::string", &Constant::type, "type expression of the value"),
            requiredOption("value", "any", &Constant::given,
                           "the value: a scalar; [x, y, width, height] of a box; lists of these; rows of a frame"));
    };

    void initialize() override { decoded = decode(); }

    /// Every tick gets storage of its own, because a node may draw into a frame that it reads.
    void process(Tick tick) override { writeStream(tick, value, valueTypeOf(*decoded)->copy(*decoded)); }

    Forecast forecast() const {
        Forecast forecast;
        try {
            auto const known = decode();
            forecast.bytes["value"] = valueTypeOf(*known)->bytes(*known);
        } catch (Exception const &error) {
            forecast.problems.push_back(error.what());
        }
        return forecast;
    }

private:
    std::shared_ptr<Variant> decode() const {
        ValueType const &known = recordType(type);
        try {
            return known.readRecord(given);
        } catch (Exception const &error) {
            throw Exception(std::string("option value: ") + error.what());
        }
    }
};

void registerConstant() { static Registration<Constant> const once; }

} // namespace zun::media
