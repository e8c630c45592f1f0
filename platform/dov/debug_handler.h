// Where the table library says what it does. Messages carry a level; bit n of the flag byte lets
// level n through, so that 1 enables level 0 (assertions), 2 enables level 1 (detach, corruption, a
// conquest to note) and 32 level 5 (calls of a detached table, readiness, any other conquest).
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace Dov {
namespace Platform {

class DebugHandler {
 public:
  struct Message {
    unsigned level;
    std::string_view source;    // the unit, as in "Glim/GlimMap"
    std::string_view function;  // as in "detach"
    std::string_view text;
  };
  using Sink = std::function<void(Message const&)>;

  static constexpr std::uint8_t flag(unsigned level) {
    return static_cast<std::uint8_t>(1u << level);
  }
  static constexpr std::uint8_t defaultFlags = 0x03;

  // Without a sink, messages go to standard error, one a line.
  explicit DebugHandler(std::uint8_t flags = defaultFlags, Sink sink = {});

  std::uint8_t flags() const { return _flags; }
  void flagsIs(std::uint8_t flags) { _flags = flags; }
  void sinkIs(Sink sink) { _sink = std::move(sink); }

  // REQUIRES: level < 8
  bool enabled(unsigned level) const { return (_flags & flag(level)) != 0; }
  // Drops the message when its level is not enabled. Callers that build their text ask enabled()
  // first.
  void write(unsigned level, std::string_view source, std::string_view function,
             std::string_view text);

 private:
  std::uint8_t _flags;
  Sink _sink;
};

}  // namespace Platform

// Base of what reports to a debug handler. The handler must outlive it.
class Debuggable {
 public:
  explicit Debuggable(Platform::DebugHandler& handler) : _debugHandler(&handler) {}
  Platform::DebugHandler& debugHandler() const { return *_debugHandler; }

 private:
  Platform::DebugHandler* _debugHandler;
};

}  // namespace Dov
