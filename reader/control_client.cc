#include "reader/control_client.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <sstream>

#include "platform/interface/control_socket.h"
#include "reader/units.h"

namespace Show {

namespace {

double steadyClock() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

NoAnswer notThere(std::string const& path, std::string const& directory, int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
      return {ExitCode::noAgent,
              "no agent answers at " + path + "; start it with: oru-agentd --tables " + directory};
    case EACCES:
    case EPERM:
      return {ExitCode::noPermission,
              path + " may not be connected to: it takes permission to search the directory"};
    case EAGAIN:
      return {ExitCode::agentFailed, "the agent at " + path +
                                         " takes no more clients now; it may be stopped or very "
                                         "busy: try again"};
    default:
      return {ExitCode::failed, path + " cannot be connected to: " + Glim::errorText(error)};
  }
}

}  // namespace

ControlClient::ControlClient(std::string const& directory, Trust trust, double timeout)
    : _path(directory + "/" + std::string(Interface::kControlSocket)), _timeout(timeout) {
  Glim::FileDescriptor const place(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!place) throw notThere(_path, directory, errno);
  _socket = Glim::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!_socket) throw notThere(_path, directory, errno);
  // An agent that is stopped lets nobody in once its queue of newcomers is full.
  timeval limit{};
  limit.tv_sec = static_cast<time_t>(timeout);
  limit.tv_usec = static_cast<suseconds_t>((timeout - std::floor(timeout)) * 1e6);
  ::setsockopt(_socket.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  sockaddr_un const address = Interface::controlAddress(directory, place.get());
  if (::connect(_socket.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
    throw notThere(_path, directory, errno);
  requireTrusted(trust, place.get());
}

// As with tables: of a directory that the user did not name, only an agent of the superuser or of
// this user, since anybody may make that directory first.
void ControlClient::requireTrusted(Trust trust, int directory) const {
  ucred peer{};
  socklen_t size = sizeof peer;
  struct stat owner {};
  bool const known = ::getsockopt(_socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
                     ::fstat(directory, &owner) == 0;
  bool const ours = known && (peer.uid == 0 || peer.uid == ::geteuid());
  bool const theirs = known && trust == Trust::directoryOwner && peer.uid == owner.st_uid;
  if (ours || theirs) return;
  throw NoAnswer(ExitCode::unsafeTable,
                 "who answers at " + _path + " is user " + std::to_string(peer.uid) +
                     ", who is neither you nor the superuser; if you trust it, name the directory "
                     "with --tables");
}

void ControlClient::waitUntil(double deadline, short events) const {
  while (true) {
    double const left = deadline - steadyClock();
    pollfd wait{_socket.get(), events, 0};
    int const ready = left <= 0.0 ? 0 : ::poll(&wait, 1, static_cast<int>(std::ceil(left * 1e3)));
    if (ready > 0) return;
    if (ready < 0 && errno == EINTR) continue;
    std::ostringstream limit;  // 0.5 as it was given
    limit << _timeout;
    throw NoAnswer(ExitCode::agentFailed,
                   "the agent at " + _path + " did not answer within " + limit.str() +
                       " s; it may be stopped or very busy: see its process, or wait longer with "
                       "--timeout");
  }
}

void ControlClient::send(std::string const& line) {
  double const deadline = steadyClock() + _timeout;
  std::string const whole = line + '\n';
  for (std::size_t sent = 0; sent < whole.size();) {
    ssize_t const n = ::send(_socket.get(), whole.data() + sent, whole.size() - sent,
                             MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n >= 0)
      sent += static_cast<std::size_t>(n);
    else if (errno == EAGAIN)
      waitUntil(deadline, POLLOUT);
    else if (errno == EPIPE || errno == ECONNRESET)
      return;  // what it said before it closed is still there to be read
    else if (errno != EINTR)
      throw NoAnswer(ExitCode::failed, _path + " takes nothing: " + Glim::errorText(errno));
  }
}

std::string ControlClient::ask(std::string const& line) {
  send(line);
  double const deadline = steadyClock() + _timeout;
  std::array<char, 64 * 1024> bytes;
  std::size_t from = 0;
  while (true) {
    auto const end = _in.find('\n', from);
    if (end != std::string::npos) {
      std::string answer = _in.substr(0, end);
      _in.erase(0, end + 1);
      return answer;
    }
    from = _in.size();
    waitUntil(deadline, POLLIN);
    ssize_t const n = ::recv(_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (n <= 0 || _in.size() > kMaxAnswer)
      throw NoAnswer(ExitCode::agentFailed,
                     "the agent at " + _path +
                         " closed the connection without an answer; it may have ended: see whether "
                         "it runs with: oru-counters tables list");
    _in.append(bytes.data(), static_cast<std::size_t>(n));
  }
}

}  // namespace Show
