#include "agent/control_socket.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "platform/interface/control_socket.h"

namespace Agent {
namespace {

constexpr char const* kName = Interface::kControlSocket.data();
constexpr int kBacklog = 64;

}  // namespace

ControlSocket::ControlSocket(std::string const& directory)
    : _path(directory + "/" + kName),
      _directory(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      _socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  if (!_directory || !_socket) fail("cannot be made");
  removeStale();
  sockaddr_un const address = Interface::controlAddress(directory, _directory.get());
  if (::bind(_socket.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
    fail("cannot be made");
  // Everybody may connect; who may do what is decided by whose process it is. Nobody is let in
  // before all of this holds.
  if (::fchmodat(_directory.get(), kName, 0666, 0) != 0 ||
      ::fstatat(_directory.get(), kName, &_own, AT_SYMLINK_NOFOLLOW) != 0 ||
      ::listen(_socket.get(), kBacklog) != 0) {
    int const why = errno;
    ::unlinkat(_directory.get(), kName, 0);
    errno = why;
    fail("cannot be opened to clients");
  }
}

ControlSocket::~ControlSocket() {
  if (isThere()) ::unlinkat(_directory.get(), kName, 0);
}

bool ControlSocket::isThere() const {
  struct ::stat now {};
  return ::fstatat(_directory.get(), kName, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         now.st_dev == _own.st_dev && now.st_ino == _own.st_ino;
}

void ControlSocket::removeStale() const {
  struct ::stat found {};
  if (::fstatat(_directory.get(), kName, &found, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) return;
    fail("cannot be made");
  }
  if (!S_ISSOCK(found.st_mode))
    throw std::runtime_error(_path + " is no socket but something else; remove it");
  if (found.st_uid != ::geteuid() && ::geteuid() != 0)
    throw std::runtime_error(_path + " is a socket of another user; remove it");
  if (::unlinkat(_directory.get(), kName, 0) != 0) fail("was left by an agent before, and stays");
}

void ControlSocket::fail(std::string const& what) const {
  throw std::runtime_error("the socket " + _path + " " + what + ": " + Glim::errorText(errno));
}

}  // namespace Agent
