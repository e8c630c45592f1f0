#include "agent/event_loop.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <system_error>

namespace Agent {
namespace {

[[noreturn]] void failed(char const* call) {
  throw std::system_error(errno, std::generic_category(), call);
}

void add(int epoll, int fd) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = fd;
  if (::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) != 0) failed("epoll_ctl");
}

}  // namespace

EventLoop::EventLoop()
    : _epoll(::epoll_create1(EPOLL_CLOEXEC)),
      // Monotonic: sleeping is not to be prolonged by setting the wall clock.
      _timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (!_epoll) failed("epoll_create1");
  if (!_timer) failed("timerfd_create");
  add(_epoll.get(), _timer.get());
}

void EventLoop::readableIs(int fd, Handler onReadable) {
  auto handler = std::make_shared<Handler>(std::move(onReadable));
  auto const [at, isNew] = _handlers.insert_or_assign(fd, std::move(handler));
  if (isNew) add(_epoll.get(), fd);
}

void EventLoop::readableDel(int fd) {
  if (_handlers.erase(fd) != 0) ::epoll_ctl(_epoll.get(), EPOLL_CTL_DEL, fd, nullptr);
}

void EventLoop::sleepFor(Kel::Seconds seconds) {
  // A timer set to zero would be switched off.
  double const most = 3600.0, least = 1e-9;
  double const duration = std::clamp(seconds, least, most);
  double const whole = std::floor(duration);
  itimerspec next{};
  next.it_value.tv_sec = static_cast<time_t>(whole);
  next.it_value.tv_nsec = std::max(1L, static_cast<long>((duration - whole) * 1e9));
  if (::timerfd_settime(_timer.get(), 0, &next, nullptr) != 0) failed("timerfd_settime");
}

void EventLoop::run(Turn const& turn) {
  _stopped = false;
  sleepFor(0.0);
  while (!_stopped) {
    std::array<epoll_event, 16> events;
    int const count =
        ::epoll_wait(_epoll.get(), events.data(), static_cast<int>(events.size()), -1);
    if (count < 0 && errno != EINTR) failed("epoll_wait");
    for (int i = 0; i < count && !_stopped; ++i) {
      int const fd = events[static_cast<std::size_t>(i)].data.fd;
      if (fd == _timer.get()) {
        std::uint64_t expirations = 0;
        if (::read(fd, &expirations, sizeof expirations) < 0 && errno != EAGAIN) failed("read");
        continue;
      }
      auto const at = _handlers.find(fd);
      if (at == _handlers.end()) continue;  // a handler before it dropped it
      auto const handler = at->second;      // it may drop itself
      (*handler)();
    }
    if (!_stopped) sleepFor(turn());
  }
}

}  // namespace Agent
