#include "cli/Programs.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zun::cli::test {
namespace {

std::string contents(fs::path const &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void redirect(int descriptor, fs::path const &file, int flags) {
    int const opened = ::open(file.c_str(), flags, 0600);
    if (opened < 0 || ::dup2(opened, descriptor) < 0) std::_Exit(126);
}

} // namespace

Folder::Folder() {
    std::string pattern = (fs::temp_directory_path() / "zun-cli-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
}

Folder::~Folder() {
    std::error_code error;
    fs::remove_all(path, error);
}

std::string Folder::write(std::string const &name, std::string const &text) const {
    std::ofstream(path / name, std::ios::binary) << text;
    return (path / name).string();
}

std::string Folder::read(std::string const &name) const { return contents(path / name); }

std::vector<std::string> Folder::names() const {
    std::vector<std::string> result;
    for (fs::directory_entry const &entry : fs::directory_iterator(path)) result.push_back(entry.path().filename());
    std::sort(result.begin(), result.end());
    return result;
}

Child::Child(std::string const &program, std::vector<std::string> const &arguments, Folder const &folder) {
    static std::atomic<int> count = 0;
    std::string const stem = folder.path.string() + ".child" + std::to_string(count++);
    outFile = stem + ".out";
    errFile = stem + ".err";
    std::vector<char *> words{const_cast<char *>(program.c_str())};
    for (std::string const &argument : arguments) words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    pid = ::fork();
    if (pid != 0) return;
    redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
    redirect(STDOUT_FILENO, outFile, O_WRONLY | O_CREAT | O_TRUNC);
    redirect(STDERR_FILENO, errFile, O_WRONLY | O_CREAT | O_TRUNC);
    if (::chdir(folder.path.c_str()) == 0) ::execv(words[0], words.data());
    std::_Exit(127);
}

Child::~Child() {
    if (!over) {
        send(SIGKILL);
        wait();
    }
    std::error_code error;
    fs::remove(outFile, error);
    fs::remove(errFile, error);
}

void Child::send(int signal) const { ::kill(pid, signal); }

bool Child::running() {
    if (!over) over = ::waitpid(pid, &state, WNOHANG) == pid;
    return !over;
}

Ended Child::wait() {
    if (!over) ::waitpid(pid, &state, 0);
    over = true;
    int const status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    return {status, contents(outFile), contents(errFile)};
}

Ended zun(std::vector<std::string> const &arguments, Folder const &folder) {
    return Child(ZUN_PROGRAM, arguments, folder).wait();
}

Ended graphPipeline(std::vector<std::string> const &arguments, Folder const &folder) {
    return Child(ZUN_GRAPH_PROGRAM, arguments, folder).wait();
}

std::size_t occurrences(std::string const &text, std::string const &part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) count++;
    return count;
}

} // namespace zun::cli::test
