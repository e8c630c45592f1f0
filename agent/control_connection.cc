#include "agent/control_connection.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Agent {
namespace {

bool isForLater(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

ControlConnection::ControlConnection(Glim::FileDescriptor fd, std::optional<uid_t> user,
                                     bool mayWrite, Kel::Seconds now)
    : _fd(std::move(fd)), _user(user), _mayWrite(mayWrite), _since(now) {}

void ControlConnection::read() {
  if (!wantsToRead()) return;
  std::array<char, kReadAtOnce> bytes;
  ssize_t const n = ::recv(fd(), bytes.data(), bytes.size(), 0);
  if (n < 0 && isForLater(errno)) return;
  if (n < 0) {
    _broken = true;
  } else if (n == 0) {
    _ended = true;
  } else {
    std::size_t const before = _in.size();
    _in.append(bytes.data(), static_cast<std::size_t>(n));
    findLine(before);
  }
}

void ControlConnection::findLine(std::size_t from) {
  auto const at = _in.find('\n', from);
  if (at != std::string::npos && at < kMaxLine) _lineEnd = at;
}

std::optional<std::string> ControlConnection::takeLine() {
  if (tooLong()) return std::nullopt;
  std::size_t const end = _lineEnd.value_or(_in.size());
  std::string line = _in.substr(0, end);
  _in.erase(0, end + 1);
  _lineEnd.reset();
  findLine(0);
  if (_in.empty()) _in.shrink_to_fit();
  return line;
}

void ControlConnection::answer(std::string line, Kel::Seconds now) {
  _out = std::move(line);
  _sent = 0;
  _since = now;
  write(now);
}

void ControlConnection::lastAnswer(std::string const& line, Kel::Seconds now) {
  _last = true;
  if (_out.empty()) answer(line, now);  // else it would come amid another
}

void ControlConnection::write(Kel::Seconds now) {
  while (!_out.empty() && !_broken) {
    ssize_t const n =
        ::send(fd(), _out.data() + _sent, _out.size() - _sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) {
      _broken = !isForLater(errno);
      return;
    }
    _sent += static_cast<std::size_t>(n);
    if (_sent < _out.size()) continue;
    _out = std::string();
    _since = now;
  }
}

}  // namespace Agent
