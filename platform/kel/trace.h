// The trace facility: leveled statements that cost one branch while their level
// is off.
//
// A unit has one TraceHandle and a function `trace(level)` of its own:
//
//   if (auto t = trace(8)) t << "CountersSm::handleIntf(" << intfId << ')';
//
// Nothing is traced until the agent enables levels on a handle, and nothing is
// ever written to standard output: without a sink, lines go to standard error.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <ostream>
#include <source_location>
#include <string_view>

namespace Kel {

// Levels are 0 to 31: 8 handlers and polls, 7 state machines that come and go,
// CPU ports, policy maps and forced updates, 6 rows made, 4 requests gone, 1 errors.
class TraceHandle {
 public:
  constexpr explicit TraceHandle(std::string_view name) : _name(name) {}
  std::string_view name() const { return _name; }

  bool enabled(int level) const {
    return (_levels.load(std::memory_order_relaxed) >> level & 1u) != 0;
  }
  // One bit a level.
  void levelsIs(unsigned levels) { _levels.store(levels, std::memory_order_relaxed); }
  unsigned levels() const { return _levels.load(std::memory_order_relaxed); }

 private:
  std::string_view _name;
  std::atomic<unsigned> _levels = 0;
};

// Where a statement stands. Some positions are fixed by contract.
struct TracePosition {
  constexpr TracePosition(std::source_location const& here)
      : file(here.file_name()), line(here.line()), function(here.function_name()) {}
  constexpr TracePosition(char const* f, unsigned l, char const* fn)
      : file(f), line(l), function(fn) {}

  char const* file;
  unsigned line;
  char const* function;
};

struct TraceLine {
  std::string_view handle;
  int level;
  std::string_view text;
  TracePosition position;
};
using TraceSink = void (*)(TraceLine const& line);
// Where lines go; null puts back standard error.
void traceSinkIs(TraceSink sink);

// The stream of one enabled statement.
class TraceHelper {
 public:
  // A trace object only while `level` is enabled.
  static std::optional<TraceHelper> createIfEnabled(TraceHandle const& handle, int level) {
    if (!handle.enabled(level)) return std::nullopt;
    return TraceHelper(handle, level);
  }

  std::ostream& stream();
  void trace(char const* sourceFile, unsigned line, char const* functionName) const;
  ~TraceHelper();
  TraceHelper(TraceHelper&&) noexcept;

 private:
  TraceHelper(TraceHandle const& handle, int level);

  // Apart, so that a statement that is off costs no room on the stack for it.
  struct Text;
  TraceHandle const* _handle;
  int _level;
  std::unique_ptr<Text> _text;
};

// One statement: sent at its end, unless an exception ended it.
class Trace {
 public:
  Trace(TraceHandle const& handle, int level, TracePosition position)
      : _helper(TraceHelper::createIfEnabled(handle, level)),
        _position(position),
        _exceptions(_helper ? std::uncaught_exceptions() : 0) {}
  ~Trace() {
    if (_helper) send();
  }
  Trace(Trace const&) = delete;
  Trace& operator=(Trace const&) = delete;

  explicit operator bool() const { return _helper.has_value(); }
  template <class T>
  Trace& operator<<(T const& value) {
    _helper->stream() << value;
    return *this;
  }

 private:
  void send() const;

  std::optional<TraceHelper> _helper;
  TracePosition _position;
  int _exceptions;
};

// The framework's own handle, "Kel".
TraceHandle& frameworkTraceHandle();

}  // namespace Kel
