#include "agent/control_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Agent {

std::optional<uid_t> ControlServer::peerUser(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer.uid;
}

ControlServer::ControlServer(EventLoop& loop, std::string const& directory,
                             ControlRequests requests, std::function<Kel::Seconds()> steady,
                             PeerUser peerUser)
    : _loop(loop),
      _requests(std::move(requests)),
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
  auto const alike = std::count_if(_connections.begin(), _connections.end(), [&](auto const& each) {
    return each.second->mayWrite() == mayWrite;
  });
  auto const connection = std::make_shared<ControlConnection>(std::move(fd), mayWrite, _steady());
  if (static_cast<std::size_t>(alike) >= (mayWrite ? kMaxWriters : kMaxReaders)) {
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

// Answers whether that was a long one.
bool ControlServer::serve(Connection const& connection) {
  _lastServed = connection->fd();
  bool isLong = false;
  if (auto const line = connection->takeLine()) {
    auto const answer = _requests.answer(*line, connection->mayWrite());
    isLong = answer.isLong;
    connection->answer(answer.line, _steady());
  } else {
    connection->lastAnswer(
        controlErrorLine({ControlCode::tooLong, "a line has at most " +
                                                    std::to_string(ControlConnection::kMaxLine) +
                                                    " bytes; of many names, clear some at a time"}),
        _steady());
  }
  settle(connection);
  return isLong;
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
  // One of each client in turn, beginning with whoever comes after the one that was last.
  for (int served = 0; served < kRequestsPerTurn;) {
    auto const waits = [](auto const& each) { return each.second->hasLine(); };
    auto at = std::find_if(_connections.upper_bound(_lastServed), _connections.end(), waits);
    if (at == _connections.end())
      at = std::find_if(_connections.begin(), _connections.end(), waits);
    if (at == _connections.end()) return kIdle;
    Connection const connection = at->second;
    served += serve(connection) ? kRequestsPerTurn : 1;
  }
  return 0.0;
}

}  // namespace Agent
