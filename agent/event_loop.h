// What the agent's one thread waits for: descriptors that become readable or writable, and time
// that passes.
//
//   EventLoop loop;
//   loop.readableIs(signals.fd(), [&] { loop.stop(); });
//   loop.run([&] { return clockDriver.turn(); });
//
// A handler, and the turn, may add and drop descriptors and stop the loop. Not for two threads.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/glim/file_descriptor.h"
#include "platform/kel/system.h"

namespace Agent {

class EventLoop {
 public:
  using Handler = std::function<void()>;
  // Does what is due; answers in how many seconds it wants to be called again at the latest.
  using Turn = std::function<Kel::Seconds()>;

  EventLoop();  // throws std::system_error

  // From now on `onReadable` is called in each turn in which `fd` has something to be read, in
  // place of what was called before. The descriptor stays its owner's, who drops it here before
  // closing it.
  void readableIs(int fd, Handler onReadable);
  void readableDel(int fd);
  // The same for a descriptor that takes what is written. One that is heeded both ways, and has
  // come to its end or failed, is called both ways.
  void writableIs(int fd, Handler onWritable);
  void writableDel(int fd);

  // Takes turns until stop(): first the descriptors that are ready, then `turn`. The first turn
  // comes at once. What a handler or the turn throws ends it, and leaves it as an exception.
  void run(Turn const& turn);
  void stop() { _stopped = true; }

 private:
  struct Watch {
    std::shared_ptr<Handler> readable, writable;
  };
  void watchIs(int fd, Watch const& watch);
  void handle(int fd, std::uint32_t events);
  void sleepFor(Kel::Seconds seconds);

  Glim::FileDescriptor _epoll;
  Glim::FileDescriptor _timer;
  std::map<int, Watch> _watches;
  bool _stopped = false;
};

}  // namespace Agent
