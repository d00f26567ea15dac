// The programs as a user meets them: started with arguments in a folder, judged by what they print and leave behind.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::cli::test {

namespace fs = std::filesystem;
using Folder = zun::test::TemporaryFolder;
using Names = std::vector<std::string>;
using zun::test::expectParts;

inline fs::path const examples = ZUN_EXAMPLES;
inline std::string const photo = examples / "photos/coffee.png";

struct Ended {
    int status = 0; ///< exit status, or minus the signal that ended it
    std::string out, err;
};

/// A program that runs, started with words as its arguments, with its working folder in `folder` and no standard input.
class Child {
public:
    Child(std::string const &program, std::string const &words, Folder const &folder);
    ~Child();

    void send(int signal) const;
    bool running();
    Ended wait();

private:
    Folder outputs;
    pid_t pid = 0;
    int state = 0;
    bool over = false;
};

Ended zun(std::string const &words, Folder const &folder);
Ended graphPipeline(std::string const &words, Folder const &folder);

/// Expects the message of one error, with these parts, and the status of a failure.
void expectOneError(Ended const &ended, std::vector<std::string> const &parts);

} // namespace zun::cli::test
