// Writes one value a tick to a file of JSON lines, or to the standard output.
//
//   - type: WriteRecords
//     inputs: {value: corners}
//     options: {path: out/corners.jsonl}
//
// The file is complete when the run ends, also if it ends by a failure, and then holds a line for each tick that was
// written whole; until then it stands beside its place as ".<name>.part".

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "containers/Exception.h"
#include "frame/Registration.h"
#include "media/AtomicFile.h"
#include "media/Codec.h"
#include "media/RecordNodes.h"

namespace zun::media {
namespace {

constexpr char const *standardOutput = "-";

}

class WriteRecords : public Node {
    std::string path;
    InputStream<Variant> value;

    std::unique_ptr<AtomicFile> file; ///< from the first line on

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "WriteRecords",
                                      .sourcePath = "media/WriteRecords",
                                      .classCode = 1,
                                      .parallelCode = 0,
                                      .summary = "Writes one value a tick to a file of JSON lines"};
        static constexpr auto inputs = rows(input("value", "any", &WriteRecords::value, "the values"));
        static constexpr auto outputs = rows();
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &WriteRecords::path, "the file; \"-\" for the standard output"));
    };

    bool hasSideEffects() const override { return true; }

    void initialize() override {
        if (path == standardOutput) return;
        if (std::string const why = whyNotWritable(path); !why.empty()) throw Exception(why);
    }

    void process(Tick tick) override {
        std::string const line = encodeValue(*readStream(tick, value)) + "\n";
        if (path == standardOutput) {
            if (std::fwrite(line.data(), 1, line.size(), stdout) != line.size() || std::fflush(stdout) != 0)
                throw Exception(std::string("the standard output can't be written: ") + std::strerror(errno));
            return;
        }
        if (file == nullptr) file = std::make_unique<AtomicFile>(path);
        file->write(line);
    }

    void flush(Tick) override {
        std::unique_ptr<AtomicFile> const finished = std::move(file);
        if (finished != nullptr) finished->commit();
    }
};

void registerWriteRecords() { static Registration<WriteRecords> const once; }

engine::NodeFacts writeRecordsFacts() {
    engine::NodeFacts facts;
    facts.forecast = [](NodeConfig const &config) {
        std::string const path = textOption(config, "path");
        std::string const why = path == standardOutput ? "" : whyNotWritable(path);
        engine::Forecast forecast;
        if (!why.empty()) forecast.errors.push_back(why);
        return forecast;
    };
    return facts;
}

} // namespace zun::media
