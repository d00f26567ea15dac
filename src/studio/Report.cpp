#include "studio/Report.h"

#include <ctime>
#include <fstream>
#include <iterator>
#include <set>

#include "containers/Exception.h"
#include "media/files/AtomicFile.h"
#include "studio/Layout.h"
#include "studio/Preview.h"
#include "studio/Sources.h"
#include "studio/State.h"
#include "studio/ValueTexts.h"

namespace zun::studio {
namespace {

std::string quotedKey(std::string const &text) { return "\"" + text + "\": "; } // of ids, which need no escapes

void append(std::string &list, std::string const &item) { list += (list.empty() ? "" : ",\n") + item; }

/// The parts of a report's data, as JSON.
class Collector {
public:
    explicit Collector(ReportPlan const &reportPlan)
        : plan(reportPlan), description(readDescription()), preview(plan.mostBytes) {}

    /// False for a tick past the end.
    bool add(Tick tick) {
        Snapshot const values = preview.evaluate(plan.graph, tick, [] { return false; });
        if (values.ticks && values.ticksCertain && tick >= *values.ticks) return false;
        for (engine::GraphStream const &stream : plan.graph->streams)
            if (auto const &value = values.streams.at(stream.name).value; value && !stream.implied) addValue(*value);
        State state;
        state.version = count++;
        state.file = plan.file;
        state.text = description;
        state.diagnostics = plan.graph->diagnostics;
        state.graph = plan.graph;
        state.values = &values;
        state.locked = &locked;
        state.tick = tick;
        state.memory = {facts.valueBytes, plan.mostBytes};
        append(states, stateText(state));
        facts.ticks++;
        return true;
    }

    std::string data() const {
        std::time_t const now = std::time(nullptr);
        std::tm parts{};
        ::localtime_r(&now, &parts);
        char date[16];
        std::strftime(date, sizeof date, "%Y-%m-%d", &parts);
        return "{\"states\": [" + states +
               "],\n\"layouts\": {\"LR\": " + layoutText(*plan.graph, Direction::LeftToRight) +
               ",\n\"TB\": " + layoutText(*plan.graph, Direction::TopToBottom) + "},\n\"pictures\": {" + pictures +
               "},\n\"data\": {" + records + "},\n\"made\": \"" + date + "\"}";
    }

    ReportFacts facts;

private:
    std::string readDescription() const {
        std::ifstream in(plan.file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    void addValue(KeptValue const &kept) {
        if (!known.insert(kept.id).second) return;
        facts.valueBytes += kept.facts.bytes;
        if (facts.valueBytes > plan.mostBytes)
            throw Exception("the values of these ticks take more than " + std::to_string(plan.mostBytes) +
                            " bytes; choose fewer with --ticks, or give a larger --keep");
        for (std::size_t i = 0; i < kept.facts.frames.size(); i++)
            if (kept.facts.frames[i].width > 0)
                append(pictures, quotedKey(kept.id + "/" + std::to_string(i)) + "{\"png\": \"" +
                                     base64(picture(*kept.value, i)) + "\"}");
        if (std::string_view(kept.facts.kind) == "record")
            append(records, quotedKey(kept.id) + recordText(*kept.value, kept.type));
    }

    ReportPlan const &plan;
    std::string const description;
    Locked const locked;
    Preview preview;
    std::set<std::string> known;
    std::uint64_t count = 0;
    std::string states, pictures, records;
};

} // namespace

ReportFacts writeReport(ReportPlan const &plan, Page const &page, std::string const &path) {
    requireByTick(*plan.graph);
    media::AtomicFile file(path); // before the work, so that a path that can't be written is known at once
    Collector collector(plan);
    for (Tick tick = plan.first; tick < plan.end && collector.add(tick); tick++) {
    }
    if (collector.facts.ticks == 0)
        throw Exception("there is no tick " + std::to_string(plan.first) +
                        ": a source has ended before; choose others with --ticks");
    std::string const text = pageWithData(page, collector.data());
    file.write(text);
    file.commit();
    collector.facts.fileBytes = text.size();
    return collector.facts;
}

} // namespace zun::studio
