#include "bench/redis_server.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include "bench/other_process.h"
#include "bench/table_folder.h"

namespace Bench {

namespace {

[[noreturn]] void serve(std::string const& folder, std::string const& socket) {
  int const nothing = open("/dev/null", O_RDWR);
  for (int const fd : {STDIN_FILENO, STDOUT_FILENO}) dup2(nothing, fd);
  // Hashes of 122 fields are faster as tables than as the lists that they would be by default.
  execlp("redis-server", "redis-server", "--port", "0", "--unixsocket", socket.c_str(),
         "--unixsocketperm", "700", "--daemonize", "no", "--save", "", "--appendonly", "no",
         "--hash-max-listpack-entries", "64", "--dir", folder.c_str(), static_cast<char*>(nullptr));
  _exit(127);
}

}  // namespace

bool RedisServer::installed() {
  char const* const path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (access((folder + "/redis-server").c_str(), X_OK) == 0) return true;
  }
  return false;
}

RedisServer::RedisServer() {
  TableFolder folder;
  std::string const socket = folder.at("redis.sock");
  pid_t const parent = getpid();
  _pid = fork();
  if (_pid < 0) throw std::runtime_error("cannot start redis-server");
  if (_pid == 0) {
    becomeCompanion(parent);
    serve(folder.at(""), socket);
  }
  for (int patience = 1000; patience > 0 && !_connection; --patience) {
    usleep(10'000);
    if (waitpid(_pid, nullptr, WNOHANG) == _pid) {
      _pid = -1;
      break;
    }
    _connection.reset(redisConnectUnix(socket.c_str()));
    if (_connection && _connection->err != 0) _connection.reset();
  }
  // The folder goes now: the connection is all that the benchmark needs.
  if (_connection) return;
  stop();
  throw std::runtime_error("redis-server does not answer");
}

RedisServer::~RedisServer() {
  _connection.reset();
  stop();
}

void RedisServer::stop() {
  if (_pid <= 0) return;
  kill(_pid, SIGKILL);  // it has nothing to save
  waitpid(_pid, nullptr, 0);
  _pid = -1;
}

}  // namespace Bench
