// Gives one value, written in the description, at every tick.
//
//   - type: Constant
//     outputs: {value: box}
//     options: {type: "zun::Box", value: [10, 20, 300, 200]}

#include <memory>

#include "containers/Exception.h"
#include "engine/ValueTypes.h"
#include "frame/Registration.h"
#include "media/Codec.h"
#include "media/RecordNodes.h"

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
        static constexpr auto outputs = rows(output("value", "any", &Constant::value, "the value"));
        static constexpr auto options = rows(
            requiredOption("type", "std::string", &Constant::type, "type expression of the value"),
            requiredOption("value", "any", &Constant::given,
                           "the value: a scalar; [x, y, width, height] of a box; lists of these; rows of a frame"));
    };

    void initialize() override { decoded = decodeValue(given, type); }

    /// Every tick gets storage of its own, because a node may draw into a frame that it reads.
    void process(Tick tick) override { writeStream(tick, value, engine::valueTypeOf(*decoded)->copy(*decoded)); }
};

void registerConstant() { static Registration<Constant> const once; }

engine::NodeFacts constantFacts() {
    engine::NodeFacts facts;
    facts.typeFromOption = {{"value", "type"}};
    facts.forecast = [](NodeConfig const &config) {
        engine::Forecast forecast;
        try {
            auto const value = decodeValue(config.getParsedOptions().at("value"), textOption(config, "type"));
            forecast.bytes["value"] = engine::valueTypeOf(*value)->bytes(*value);
        } catch (Exception const &error) {
            forecast.errors.push_back(std::string("option value: ") + error.what());
        }
        return forecast;
    };
    return facts;
}

} // namespace zun::media
