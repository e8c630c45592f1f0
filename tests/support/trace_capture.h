// What is traced while this object lives.
#pragma once

#include <string>
#include <vector>

#include "platform/kel/trace.h"

namespace Support {

class TraceCapture {
 public:
  // Enables all levels of the handle.
  explicit TraceCapture(Kel::TraceHandle& handle);
  ~TraceCapture();
  TraceCapture(TraceCapture const&) = delete;
  TraceCapture& operator=(TraceCapture const&) = delete;

  // "8 text", in order.
  std::vector<std::string> const& lines() const;
  void clear();

 private:
  Kel::TraceHandle& _handle;
  unsigned const _levels;
};

}  // namespace Support
