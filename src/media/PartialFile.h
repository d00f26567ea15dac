// The name under which a file is written until it is complete, and the claim on its final name.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zun::media {

/// While it lives, no other process can write the same path: the partial file beside it is locked, and its name holds
/// the process that has it. What a run that was killed left behind is removed by the next claim on the same path. All
/// operations throw zun::Exception. Not thread-safe.
class PartialFile {
public:
    /// Throws where another process has the path, with its number.
    explicit PartialFile(std::string const &path);

    /// Removes the partial file, unless it was committed or kept.
    ~PartialFile();
    PartialFile(PartialFile const &) = delete;
    PartialFile &operator=(PartialFile const &) = delete;

    /// Where to write: ".<name>.<process>-<number>.part" in the same folder. The file is there and is empty.
    std::string const &name() const { return partial; }

    /// Its descriptor, open for writing.
    int descriptor() const { return file; }

    /// Puts the file in its place; one that was there is replaced.
    void commit();

    /// Leaves the partial file where it is, for what can't be completed.
    void keep();

private:
    std::string path, partial;
    int file = -1;
};

/// Removes the partial files that no process writes any more, from a folder or of one output, and returns their names.
/// Throws zun::Exception for a path that is not there.
std::vector<std::string> removeAbandoned(std::string const &folderOrOutput);

} // namespace zun::media
