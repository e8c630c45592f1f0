// A Redis server of the benchmark's own: a child process on the other core, on a socket in a folder
// of its own, without persistence and without a port. It ends with the benchmark, however that
// ends, and leaves nothing behind.
#pragma once

#include <hiredis/hiredis.h>
#include <sys/types.h>

#include <memory>

namespace Bench {

class RedisServer {
 public:
  // Whether PATH has the program.
  static bool installed();

  // Starts it and connects. std::runtime_error when it does not answer.
  RedisServer();
  ~RedisServer();
  RedisServer(RedisServer const&) = delete;
  RedisServer& operator=(RedisServer const&) = delete;

  redisContext* connection() const { return _connection.get(); }

 private:
  struct Close {
    void operator()(redisContext* context) const { redisFree(context); }
  };
  void stop();

  pid_t _pid = -1;
  std::unique_ptr<redisContext, Close> _connection;
};

}  // namespace Bench
