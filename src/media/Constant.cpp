// Gives one value, written in the description, at every tick.
//
//   - type: Constant
//     outputs: {value: box}
//     options: {type: "zun::Box", value: [10, 20, 300, 200]}

#include <bit>
#include <cstdint>
#include <memory>
#include <mutex>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/records/RecordText.h"
#include "node/Registration.h"

namespace zun::media {
namespace {

/// Whether a value is the one that another was copied from. Copies share their elements, so that this takes no look
/// into lists of lists.
bool isCopyOf(OptionNode const &copy, OptionNode const &value) {
    return copy.type == value.type && copy.boolValue == value.boolValue && copy.intValue == value.intValue &&
           copy.text == value.text && copy.stringValue == value.stringValue && copy.vectorValue == value.vectorValue &&
           std::bit_cast<std::uint64_t>(copy.floatValue) == std::bit_cast<std::uint64_t>(value.floatValue);
}

} // namespace

class Constant : public Node {
    std::string type;
    OptionNode given;
    OutputStream<Variant> value;

    std::mutex mutex; ///< for what follows
    std::string decodedType;
    OptionNode decodedFrom;
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

    void initialize() override { current(); }

    /// Every tick gets storage of its own, because a node may draw into a frame that it reads.
    void process(Tick tick) override {
        std::shared_ptr<Variant> const known = current();
        writeStream(tick, value, valueTypeOf(*known)->copy(*known));
    }

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
    /// The value of the options as they are now: they may have changed since the last tick.
    std::shared_ptr<Variant> current() {
        std::lock_guard const lock(mutex);
        if (decoded == nullptr || decodedType != type || !isCopyOf(decodedFrom, given)) {
            decoded = decode();
            decodedType = type;
            decodedFrom = given;
        }
        return decoded;
    }

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
