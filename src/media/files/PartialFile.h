// The name under which a file is written until it is complete, and the claim on its final name.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zun::media {

enum class Claim {
    Path, ///< no other process, and no other node of this one, can write the path meanwhile
    None, ///< for one of many files, whose names a NameClaim holds: the folder isn't searched for each
};

/// While it lives, no other process can write the same path: the partial file beside it is locked, and its name holds
/// the process that has it. What a run that was killed left behind is removed by the next claim on the same path. All
/// operations throw zun::Exception. Not thread-safe, but several may be made at once.
///
/// Locks are those of flock(). In a folder without them, a partial file belongs to a process as long as one of that
/// number runs; and of two that claim a path in the same instant, both may be refused.
class PartialFile {
public:
    /// Throws where another process has the path, with its number: "'out.mp4' is being written by process 1234".
    /// The path is called `spoken` there, where that is not empty.
    explicit PartialFile(std::string const &path, Claim claim = Claim::Path, std::string const &spoken = "");

    /// Removes the partial file, unless it was committed or kept.
    ~PartialFile();
    PartialFile(PartialFile const &) = delete;
    PartialFile &operator=(PartialFile const &) = delete;

    /// Where to write: ".<name>.<process>-<number>.part" in the same folder. The file is there and is empty. The name
    /// of a very long name is shortened.
    std::string const &name() const { return partial; }

    /// Its descriptor, open for reading and writing; -1 after commit() and keep().
    int descriptor() const { return file; }

    /// Puts the file in its place; one that was there is replaced. Where this fails, the partial file is removed.
    void commit();

    /// Leaves the partial file where it is, for what can't be completed. The next claim on the path removes it.
    void keep();

private:
    void refuseOthers(std::string const &folder, std::string const &spoken);

    std::string path, partial;
    int file = -1;
};

/// The partial files in a folder, or of one output, that no process writes any more. Throws zun::Exception for a path
/// that is not there.
std::vector<std::string> findAbandoned(std::string const &folderOrOutput);

/// Removes them, and returns their names. Throws zun::Exception for a path that is not there, and for a file that can't
/// be removed.
std::vector<std::string> removeAbandoned(std::string const &folderOrOutput);

/// Removes those in a folder whose final names fit.
void removeAbandoned(std::string const &folder, std::function<bool(std::string const &)> const &fits);

} // namespace zun::media
