#include "hardware/linux/news_follower.h"

#include <cerrno>
#include <utility>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {

NewsFollower::NewsFollower(std::vector<int> groups, int receiveBufferBytes)
    : _socket(std::move(groups), receiveBufferBytes) {}

std::error_code NewsFollower::start(Reader const& reader) {
  if (auto error = _socket.open()) return error;
  return takeList(reader);
}

std::error_code NewsFollower::poll(Reader const& reader) {
  using Received = NewsSocket::Received;
  if (!_socket.isOpen()) return systemError(ENOTCONN);
  Visitor const visit = [&](nlmsghdr const& message) {
    if (reader.takeIn(message)) _listIsDue = true;
  };
  std::error_code error;
  while (true) {
    switch (_socket.receive(visit, error)) {
      case Received::something:
        break;
      case Received::lost:
        ++_resynchronisations;
        _listIsDue = true;
        break;
      case Received::nothing:
        return _listIsDue ? takeList(reader) : std::error_code();
      case Received::failed:
        _listIsDue = true;  // who knows what was not read
        return error;
    }
  }
}

std::error_code NewsFollower::list(NetlinkRequest& request, Visitor const& visit) {
  return _socket.list(request, visit);
}

std::error_code NewsFollower::takeList(Reader const& reader) {
  constexpr int kAttempts = 16;  // without a list nothing is known: more than for one reading
  _listIsDue = true;             // also if this is left by an exception
  auto const error = askUntilWhole(
      [&] {
        bool isOvertaken = false;
        auto const failure = reader.takeList([&](nlmsghdr const& message) {
          if (reader.takeIn(message)) isOvertaken = true;
        });
        return failure || !isOvertaken ? failure : std::make_error_code(std::errc::interrupted);
      },
      kAttempts);
  _listIsDue = static_cast<bool>(error);
  return error;
}

}  // namespace Hardware::Linux
