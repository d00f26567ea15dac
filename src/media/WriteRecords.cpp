// Writes one value a tick as a line of JSON or as rows of CSV, to a file or to the standard output.
//
//   - type: WriteRecords
//     inputs: {value: corners}
//     options: {path: out/corners.jsonl}
//
// The file is complete when the run ends, even by a failure, and then holds the whole record of each tick that was
// processed; until then it stands beside its place as ".<name>.part".

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/files/AtomicFile.h"
#include "media/records/CsvTable.h"
#include "media/records/RecordText.h"
#include "node/Registration.h"

namespace zun::media {
namespace {

constexpr char const *standardOutput = "-";

bool endsWithCsv(std::string const &path) {
    std::string end = path.substr(path.size() - std::min<std::size_t>(path.size(), 4));
    for (char &c : end) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return end == ".csv";
}

} // namespace

class WriteRecords : public Node {
    std::string path, format;
    InputStream<Variant> value;

    CsvTable table;
    std::unique_ptr<AtomicFile> file; ///< claimed from the start on
    bool wrote = false;               ///< a run without a tick leaves no file

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "WriteRecords",
                                      .sourcePath = "media/WriteRecords",
                                      .classCode = 1,
                                      .parallelCode = 0,
                                      .summary = "Writes one value a tick as a line of JSON or as CSV"};
        static constexpr auto inputs = rows(input("value", "any", &WriteRecords::value, "the values"));
        static constexpr auto outputs = rows();
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &WriteRecords::path, "the file; \"-\" for the standard output")
                     .is(OptionKind::Path),
                 option("format", "std::string", "auto", &WriteRecords::format,
                        "jsonl: a line of JSON a tick; csv: a table; auto: csv for a path that ends with .csv"));
    };

    bool hasSideEffects() const override { return true; }

    void initialize() override {
        if (std::string const why = problem(); !why.empty()) throw Exception(why);
        if (path != standardOutput) file = std::make_unique<AtomicFile>(path);
    }

    void process(Tick tick) override {
        std::shared_ptr<Variant> const held = readStream(tick, value);
        std::string const lines = isTable() ? table.rows(*held) : recordText(*held) + "\n";
        if (path == standardOutput) {
            if (std::fwrite(lines.data(), 1, lines.size(), stdout) != lines.size() || std::fflush(stdout) != 0)
                throw Exception(std::string("the standard output can't be written: ") + std::strerror(errno));
            return;
        }
        file->write(lines);
        wrote = true;
    }

    void flush(Tick) override {
        std::unique_ptr<AtomicFile> const finished = std::move(file);
        if (finished != nullptr && wrote) finished->commit();
    }

    Forecast forecast() const {
        Forecast forecast;
        if (path != standardOutput) forecast.files = {{FileUse::Access::Write, path, "", false, path}};
        if (std::string const why = problem(); !why.empty()) forecast.problems.push_back(why);
        return forecast;
    }

private:
    bool isTable() const { return format == "csv" || (format == "auto" && endsWithCsv(path)); }

    /// Why the file can't be written; empty if it can.
    std::string problem() const {
        if (format != "auto" && format != "jsonl" && format != "csv")
            return "option format: '" + format + "' is not auto, jsonl or csv";
        return path == standardOutput ? "" : whyNotWritable(path);
    }
};

void registerWriteRecords() { static Registration<WriteRecords> const once; }

} // namespace zun::media
