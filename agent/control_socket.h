// The agent's socket in the directory of its tables: made, opened to everybody, and removed.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/glim/file_descriptor.h"

namespace Agent {

class ControlSocket {
 public:
  // Listens from now on. A socket that a killed agent left is removed first.
  // REQUIRES: the tables of the directory are this process's, so that no agent lives that listens
  // there.
  // Throws std::runtime_error with a text for the operator: what has the name is no socket or
  // somebody else's, or the system refused.
  explicit ControlSocket(std::string const& directory);
  // Removes the socket, unless something else has its name by now.
  ~ControlSocket();
  ControlSocket(ControlSocket const&) = delete;
  ControlSocket& operator=(ControlSocket const&) = delete;

  int fd() const { return _socket.get(); }
  // Whether it still has its name.
  bool isThere() const;

 private:
  void removeStale() const;
  [[noreturn]] void fail(std::string const& what) const;

  std::string const _path;
  Glim::FileDescriptor const _directory;
  Glim::FileDescriptor const _socket;
  struct ::stat _own {};
};

}  // namespace Agent
