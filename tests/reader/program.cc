#include "tests/reader/program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Show {

namespace {

constexpr uid_t kNobody = 65534;

std::string content(std::string const& path) {
  if (!std::filesystem::is_regular_file(path)) return {};  // a device may never end
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace

Program::Result Program::run(std::vector<std::string> arguments, bool unprivileged,
                             std::string outPath, std::function<void()> const& beforeItRuns) {
  arguments.insert(arguments.begin(), {"oru-counters", "--tables", directory});
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  std::string const errPath = scratch.directory() + "/err";
  if (outPath.empty()) outPath = scratch.directory() + "/out";

  tables.heartbeat();  // a test may have taken its time
  pid_t const child = ::fork();
  if (child == 0) {
    bool const ready = std::freopen(outPath.c_str(), "w", stdout) != nullptr &&
                       std::freopen(errPath.c_str(), "w", stderr) != nullptr &&
                       (!unprivileged || (::setgid(kNobody) == 0 && ::setuid(kNobody) == 0));
    if (beforeItRuns) beforeItRuns();
    if (ready) ::execv(ORU_COUNTERS_PROGRAM, argv.data());
    ::_exit(kCannotRun);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content(outPath), content(errPath)};
}

}  // namespace Show
