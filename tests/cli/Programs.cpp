#include "cli/Programs.h"

#include <csignal>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zun::cli::test {

Child::Child(std::string const &program, std::string const &words, Folder const &folder) {
    std::istringstream in(words);
    Names const arguments{std::istream_iterator<std::string>(in), {}};
    std::vector<char *> all{const_cast<char *>(program.c_str())};
    for (std::string const &argument : arguments) all.push_back(const_cast<char *>(argument.c_str()));
    all.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (outputs / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (outputs / "err").c_str(), O_WRONLY | O_CREAT, 0600);
    ::posix_spawn_file_actions_addchdir_np(&actions, folder.path.c_str());
    int const failure = ::posix_spawn(&pid, all[0], &actions, nullptr, all.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("can't start " + program);
}

Child::~Child() {
    if (over) return;
    send(SIGKILL);
    wait();
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
    return {status, outputs.read("out"), outputs.read("err")};
}

Ended zun(std::string const &words, Folder const &folder) { return Child(ZUN_PROGRAM, words, folder).wait(); }

Ended graphPipeline(std::string const &words, Folder const &folder) {
    return Child(ZUN_GRAPH_PROGRAM, words, folder).wait();
}

void expectOneError(Ended const &ended, std::vector<std::string> const &parts) {
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err.find("error:"), ended.err.rfind("error:")) << ended.err;
    expectParts(ended.err, {"error:"});
    expectParts(ended.err, parts);
}

} // namespace zun::cli::test
