#include "platform/kel/trace.h"

#include <cstdio>
#include <sstream>

namespace Kel {
namespace {

void toStandardError(TraceLine const& line) {
  std::ostringstream out;
  out << line.handle << ' ' << line.level << ' ' << line.position.file << ':' << line.position.line
      << ' ' << line.text << '\n';
  std::string const text = out.str();
  std::fwrite(text.data(), 1, text.size(), stderr);
}

std::atomic<TraceSink> sink = &toStandardError;

}  // namespace

void traceSinkIs(TraceSink newSink) { sink = newSink ? newSink : &toStandardError; }

struct TraceHelper::Text {
  std::ostringstream stream;
};

TraceHelper::TraceHelper(TraceHandle const& handle, int level)
    : _handle(&handle), _level(level), _text(std::make_unique<Text>()) {}
TraceHelper::TraceHelper(TraceHelper&&) noexcept = default;
TraceHelper::~TraceHelper() = default;

std::ostream& TraceHelper::stream() { return _text->stream; }

void TraceHelper::trace(char const* sourceFile, unsigned line, char const* functionName) const {
  std::string const text = _text->stream.str();
  sink.load()({_handle->name(), _level, text, {sourceFile, line, functionName}});
}

void Trace::send() const {
  if (std::uncaught_exceptions() == _exceptions)
    _helper->trace(_position.file, _position.line, _position.function);
}

TraceHandle& frameworkTraceHandle() {
  static constinit TraceHandle handle("Kel");
  return handle;
}

}  // namespace Kel
