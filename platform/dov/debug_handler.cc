#include "platform/dov/debug_handler.h"

#include <iostream>
#include <sstream>
#include <utility>

namespace Dov::Platform {

namespace {

void writeToStandardError(DebugHandler::Message const& message) {
  std::ostringstream line;  // one write a line, so that lines of several threads do not mix
  line << message.source << ' ' << message.function << ": " << message.text << '\n';
  std::cerr << line.str();
}

}  // namespace

DebugHandler::DebugHandler(std::uint8_t flags, Sink sink) : _flags(flags), _sink(std::move(sink)) {}

void DebugHandler::write(unsigned level, std::string_view source, std::string_view function,
                         std::string_view text) {
  if (!enabled(level)) return;
  Message const message{level, source, function, text};
  if (_sink) {
    _sink(message);
  } else {
    writeToStandardError(message);
  }
}

}  // namespace Dov::Platform
