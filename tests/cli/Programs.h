// The programs as a user meets them: started with arguments in a folder, judged by what they print and leave behind.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zun::cli::test {

namespace fs = std::filesystem;

inline fs::path const examples = ZUN_EXAMPLES;
inline fs::path const photo = examples / "photos/coffee.png";

/// A folder of its own for each test, gone at its end.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(Folder const &) = delete;
    Folder &operator=(Folder const &) = delete;

    fs::path path;

    /// Writes a file and returns its path.
    std::string write(std::string const &name, std::string const &text) const;
    std::string read(std::string const &name) const;
    bool holds(std::string const &name) const { return fs::exists(path / name); }
    /// The names in the folder, sorted.
    std::vector<std::string> names() const;
};

struct Ended {
    int status = 0; ///< exit status, or minus the signal that ended it
    std::string out, err;
};

/// A program that runs, with its working folder in `folder` and no standard input.
class Child {
public:
    Child(std::string const &program, std::vector<std::string> const &arguments, Folder const &folder);
    ~Child();
    Child(Child const &) = delete;
    Child &operator=(Child const &) = delete;

    void send(int signal) const;
    bool running();
    Ended wait();

private:
    fs::path outFile, errFile;
    pid_t pid;
    int state = 0;
    bool over = false;
};

Ended zun(std::vector<std::string> const &arguments, Folder const &folder);
Ended graphPipeline(std::vector<std::string> const &arguments, Folder const &folder);

std::size_t occurrences(std::string const &text, std::string const &part);

} // namespace zun::cli::test
