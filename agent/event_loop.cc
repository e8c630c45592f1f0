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

void control(int epoll, int operation, int fd, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = fd;
  if (::epoll_ctl(epoll, operation, fd, &event) != 0) failed("epoll_ctl");
}

}  // namespace

EventLoop::EventLoop()
    : _epoll(::epoll_create1(EPOLL_CLOEXEC)),
      // Monotonic: sleeping is not to be prolonged by setting the wall clock.
      _timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (!_epoll) failed("epoll_create1");
  if (!_timer) failed("timerfd_create");
  control(_epoll.get(), EPOLL_CTL_ADD, _timer.get(), EPOLLIN);
}

void EventLoop::readableIs(int fd, Handler onReadable) {
  auto const at = _watches.find(fd);
  Watch watch = at == _watches.end() ? Watch() : at->second;
  watch.readable = std::make_shared<Handler>(std::move(onReadable));
  watchIs(fd, watch);
}

void EventLoop::writableIs(int fd, Handler onWritable) {
  auto const at = _watches.find(fd);
  Watch watch = at == _watches.end() ? Watch() : at->second;
  watch.writable = std::make_shared<Handler>(std::move(onWritable));
  watchIs(fd, watch);
}

void EventLoop::readableDel(int fd) {
  auto const at = _watches.find(fd);
  if (at != _watches.end() && at->second.readable) watchIs(fd, {nullptr, at->second.writable});
}

void EventLoop::writableDel(int fd) {
  auto const at = _watches.find(fd);
  if (at != _watches.end() && at->second.writable) watchIs(fd, {at->second.readable, nullptr});
}

// One that is heeded in no way is taken out altogether: its end would be told again and again.
void EventLoop::watchIs(int fd, Watch const& watch) {
  std::uint32_t const events = (watch.readable ? std::uint32_t{EPOLLIN} : 0u) |
                               (watch.writable ? std::uint32_t{EPOLLOUT} : 0u);
  if (events == 0) {
    _watches.erase(fd);
    ::epoll_ctl(_epoll.get(), EPOLL_CTL_DEL, fd, nullptr);
  } else {
    control(_epoll.get(), _watches.contains(fd) ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, fd, events);
    _watches[fd] = watch;
  }
}

// A handler may drop any descriptor, so each is looked up when its turn comes.
void EventLoop::handle(int fd, std::uint32_t events) {
  auto const call = [&](std::uint32_t meant, std::shared_ptr<Handler> Watch::*which) {
    if ((events & (meant | EPOLLERR | EPOLLHUP)) == 0 || _stopped) return;
    auto const at = _watches.find(fd);
    if (at == _watches.end()) return;
    if (auto const handler = at->second.*which) (*handler)();  // it may drop itself
  };
  call(EPOLLIN, &Watch::readable);
  call(EPOLLOUT, &Watch::writable);
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
      handle(fd, events[static_cast<std::size_t>(i)].events);
    }
    if (!_stopped) sleepFor(turn());
  }
}

}  // namespace Agent
