#include "agent/control_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Agent {

std::optional<uid_t> ControlServer::peerUser(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer.uid;
}

ControlServer::ControlServer(EventLoop& loop, std::string const& directory,
                             ControlDispatcher requests, std::function<Kel::Seconds()> steady,
                             PeerUser peerUser)
    : _loop(loop),
      _requests(std::make_unique<ControlDispatcher>(std::move(requests))),
      _steady(std::move(steady)),
      _peerUser(std::move(peerUser)),
      _socket(directory) {
  heedNewcomers();
}

ControlServer::~ControlServer() {
  _loop.readableDel(_socket.fd());
  while (!_connections.empty()) drop(_connections.begin()->first);
}

void ControlServer::heedNewcomers() {
  _acceptAgain.reset();
  _loop.readableIs(_socket.fd(), [this] { accept(); });
}

void ControlServer::accept() {
  for (int i = 0; i < kAcceptsPerTurn; ++i) {
    Glim::FileDescriptor fd(
        ::accept4(_socket.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (fd) {
      take(std::move(fd));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      return;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      // No descriptor, or no memory, for one that waits: it would be told in every turn.
      _loop.readableDel(_socket.fd());
      _acceptAgain = _steady() + kAcceptRetry;
      return;
    }
  }
}

void ControlServer::take(Glim::FileDescriptor fd) {
  auto const user = _peerUser(fd.get());
  bool const mayWrite = user && (*user == 0 || *user == ::geteuid());
  std::size_t alike = 0, ofUser = 0;
  for (auto const& [number, each] : _connections) {
    if (each->mayWrite() != mayWrite) continue;
    ++alike;
    ofUser += each->user() == user;
  }
  auto const connection =
      std::make_shared<ControlConnection>(std::move(fd), user, mayWrite, _steady());
  if (mayWrite ? alike >= kMaxWriters : alike >= kMaxReaders || ofUser >= kMaxReadersOfAUser) {
    connection->lastAnswer(controlErrorLine({ControlCode::busy,
                                             "the agent has as many clients as it takes; try again "
                                             "when some of them are done"}),
                           _steady());
    return;
  }
  _connections[connection->fd()] = connection;
  settle(connection);
}

void ControlServer::settle(Connection const& connection) {
  int const fd = connection->fd();
  if (connection->over()) return drop(fd);
  try {
    heed(connection);
  } catch (std::system_error const&) {
    drop(fd);  // the system cannot wait for it: one client less, and not the agent
  }
}

void ControlServer::heed(Connection const& connection) {
  int const fd = connection->fd();
  if (connection->wantsToRead()) {
    _loop.readableIs(fd, [this, connection] {
      connection->read();
      settle(connection);
    });
  } else {
    _loop.readableDel(fd);
  }
  if (connection->wantsToWrite()) {
    _loop.writableIs(fd, [this, connection] {
      connection->write(_steady());
      settle(connection);
    });
  } else {
    _loop.writableDel(fd);
  }
}

void ControlServer::drop(int fd) {
  _loop.readableDel(fd);
  _loop.writableDel(fd);
  _connections.erase(fd);
}

void ControlServer::serve(Connection const& connection) {
  _lastServed = connection->fd();
  if (auto const line = connection->takeLine()) {
    connection->answer(_requests->answer(*line, connection->mayWrite()), _steady());
  } else {
    connection->lastAnswer(
        controlErrorLine({ControlCode::tooLong, "a line has at most " +
                                                    std::to_string(ControlConnection::kMaxLine) +
                                                    " bytes; of many names, clear some at a time"}),
        _steady());
  }
  settle(connection);
}

void ControlServer::dropLateOnes() {
  Kel::Seconds const now = _steady();
  for (auto at = _connections.begin(); at != _connections.end();) {
    Connection const connection = (at++)->second;
    if (now < connection->deadline()) continue;
    connection->lastAnswer(
        controlErrorLine({ControlCode::timeout, "nothing whole came for a while; connect anew"}),
        now);
    drop(connection->fd());
  }
}

Kel::Seconds ControlServer::turn() {
  if (_acceptAgain && _steady() >= *_acceptAgain) heedNewcomers();
  dropLateOnes();
  Kel::Seconds const until = _steady() + kTurnShare;
  // One of each client in turn, beginning with whoever comes after the one that was last.
  for (int served = 0; served < kRequestsPerTurn && (served == 0 || _steady() < until); ++served) {
    auto const waits = [](auto const& each) { return each.second->hasLine(); };
    auto at = std::find_if(_connections.upper_bound(_lastServed), _connections.end(), waits);
    if (at == _connections.end())
      at = std::find_if(_connections.begin(), _connections.end(), waits);
    if (at == _connections.end()) return kIdle;
    Connection const connection = at->second;
    serve(connection);
  }
  return 0.0;
}

}  // namespace Agent
