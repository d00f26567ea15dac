// Writes one value a tick to a file of JSON lines, or to the standard output.
//
//   - type: WriteRecords
//     inputs: {value: corners}
//     options: {path: out/corners.jsonl}
//
// The file is complete when the run ends, even by a failure, and then holds a whole line for each tick that was
// processed; until then it stands beside its place as ".<name>.part".

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "containers/Exception.h"
#include "media/AtomicFile.h"
#include "media/RecordText.h"
#include "media/Registrations.h"
#include "node/Registration.h"

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
            rows(requiredOption("path", "std::string", &WriteRecords::path, "the file; \"-\" for the standard output")
                     .is(OptionKind::Path));
    };

    bool hasSideEffects() const override { return true; }

    void initialize() override {
        if (std::string const why = problem(); !why.empty()) throw Exception(why);
    }

    void process(Tick tick) override {
        std::string const line = recordText(*readStream(tick, value)) + "\n";
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

    Forecast forecast() const {
        Forecast forecast;
        if (path != standardOutput) forecast.files = {{FileUse::Access::Write, path, "", false, path}};
        if (std::string const why = problem(); !why.empty()) forecast.problems.push_back(why);
        return forecast;
    }

private:
    /// Why the file can't be written; empty if it can.
    std::string problem() const { return path == standardOutput ? "" : whyNotWritable(path); }
};

void registerWriteRecords() { static Registration<WriteRecords> const once; }

} // namespace zun::media
