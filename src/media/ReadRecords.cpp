// Reads one value a tick from a file of JSON lines: tick t is line t + 1.
//
//   - type: ReadRecords
//     outputs: {value: corners}
//     options: {path: corners.jsonl, type: "zun::List<zun::Vec2f>"}
//
// Of lines with objects, such as MergeRecords makes them, option `field` names the field to read.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/records/RecordText.h"
#include "node/Registration.h"

namespace zun::media {
namespace {

/// The descriptor of a file that can be read at any place.
int openFile(std::string const &path) {
    int const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // a pipe would wait for its writer
    if (descriptor < 0) throw Exception("'" + path + "' can't be opened: " + std::strerror(errno));
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return descriptor;
    ::close(descriptor);
    throw Exception("'" + path + "' is " + (S_ISDIR(status.st_mode) ? "a folder" : "not a regular file") +
                    "; records are read from a file on disk");
}

/// A file whose lines can be read in any order and by several threads at once.
class LineFile {
public:
    explicit LineFile(std::string const &path) : name(path), descriptor(openFile(path)) {
        try {
            findLines();
        } catch (...) {
            ::close(descriptor);
            throw;
        }
    }
    LineFile(LineFile const &) = delete;
    LineFile &operator=(LineFile const &) = delete;
    ~LineFile() { ::close(descriptor); }

    std::uint64_t lineCount() const { return ends.size(); }

    std::string line(std::uint64_t index) const {
        std::uint64_t const begin = index == 0 ? 0 : ends[index - 1] + 1;
        std::uint64_t const size = ends[index] - begin;
        constexpr std::uint64_t longest = 256u << 20;
        if (size > longest)
            throw Exception("'" + name + "', line " + std::to_string(index + 1) + ": longer than any value");
        std::string text(size, '\0');
        if (readAt(begin, text.data(), size) != size) fail("became shorter while it was read");
        return text;
    }

private:
    [[noreturn]] void fail(std::string const &what) const {
        throw Exception("'" + name + "' " + what + (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
    }

    std::uint64_t readAt(std::uint64_t position, char *buffer, std::uint64_t size) const {
        std::uint64_t done = 0;
        while (done < size) {
            errno = 0;
            ssize_t const step = ::pread(descriptor, buffer + done, size - done, static_cast<off_t>(position + done));
            if (step < 0 && errno == EINTR) continue;
            if (step < 0) fail("can't be read");
            if (step == 0) break;
            done += static_cast<std::uint64_t>(step);
        }
        return done;
    }

    void findLines() {
        std::string chunk(1u << 20, '\0');
        std::uint64_t position = 0, read = 0;
        bool open = false; // whether a last line without an end is left
        while ((read = readAt(position, chunk.data(), chunk.size())) > 0) {
            for (std::uint64_t i = 0; i < read; i++)
                if (chunk[i] == '\n') ends.push_back(position + i);
            open = chunk[read - 1] != '\n';
            position += read;
        }
        if (open) ends.push_back(position);
    }

    std::string name;
    int descriptor;
    std::vector<std::uint64_t> ends; ///< where each line ends
};

} // namespace

class ReadRecords : public Node {
    std::string path, type, field;
    OutputStream<Variant> value;

    std::unique_ptr<LineFile> file;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "ReadRecords",
                                      .sourcePath = "media/ReadRecords",
                                      .classCode = 1,
                                      .summary = "Reads one value a tick from a file of JSON lines"};
        static constexpr auto inputs = rows();
        static constexpr auto outputs =
            rows(output("value", "any", &ReadRecords::value, "the value of the tick's line").typeFrom("type"));
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &ReadRecords::path, "the file, one JSON value a line")
                     .is(OptionKind::Path),
                 requiredOption("type", "std::string", &ReadRecords::type, "type expression of the values"),
                 option("field", "std::string", "", &ReadRecords::field,
                        "of lines that are objects ({...}): which field to read; empty where a line is one value"));
    };

    bool isGenerator() const override { return true; }
    void initialize() override { file = std::make_unique<LineFile>(path); }
    Tick getRunUntil(Tick end) override { return std::min<Tick>(end, file->lineCount()); }
    void flush(Tick) override { file.reset(); }

    void process(Tick tick) override {
        std::string const line = file->line(tick);
        try {
            writeStream(tick, value,
                        valueOfRecord(field.empty() ? parseJson(line) : parseJsonField(line, field), type));
        } catch (Exception const &error) {
            throw Exception("'" + path + "', line " + std::to_string(tick + 1) + ": " + error.what());
        }
    }

    Forecast forecast() const {
        Forecast forecast;
        forecast.files = {{FileUse::Access::Read, path, "", false, path}};
        auto const expectSuccess = [&](auto action) {
            try {
                action();
            } catch (Exception const &error) {
                forecast.problems.push_back(error.what());
            }
        };
        expectSuccess([&] { ::close(openFile(path)); });
        expectSuccess([&] { recordType(type); });
        return forecast;
    }
};

void registerReadRecords() { static Registration<ReadRecords> const once; }

} // namespace zun::media
