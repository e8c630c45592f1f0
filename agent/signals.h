// Signals as a descriptor: they are taken in by the event loop between two pieces of work, and
// nothing is ever interrupted by one.
#pragma once

#include <signal.h>

#include <initializer_list>

#include "platform/glim/file_descriptor.h"

namespace Agent {

class Signals {
 public:
  // Blocks these signals in this thread, until the object goes. Throws std::system_error.
  explicit Signals(std::initializer_list<int> signals);
  ~Signals();
  Signals(Signals const&) = delete;
  Signals& operator=(Signals const&) = delete;

  int fd() const { return _fd.get(); }  // readable when one has come
  int take();                           // the next one that has come; 0 when there is none

 private:
  sigset_t _before{};
  Glim::FileDescriptor _fd;
};

}  // namespace Agent
