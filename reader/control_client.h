// A conversation with the agent over its control socket: a line asked, a line answered.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/glim/file_descriptor.h"
#include "reader/problems.h"
#include "reader/trust.h"

namespace Show {

// There is no answer; the text says why, and what to do.
class NoAnswer : public std::runtime_error {
 public:
  NoAnswer(ExitCode code, std::string const& text) : std::runtime_error(text), _code(code) {}
  ExitCode code() const { return _code; }
  Problem problem() const { return {_code, what()}; }

 private:
  ExitCode _code;
};

class ControlClient {
 public:
  static constexpr std::size_t kMaxAnswer = 16 * 1024 * 1024;  // bytes

  // Connects. Each answer is waited for `timeout` seconds at the most. Throws NoAnswer.
  ControlClient(std::string const& directory, Trust trust, double timeout);

  // `line` and the answer are without their ends. Throws NoAnswer.
  std::string ask(std::string const& line);

 private:
  void requireTrusted(Trust trust, int directory) const;
  void send(std::string const& line);
  void waitUntil(double deadline, short events) const;

  std::string const _path;
  double const _timeout;
  Glim::FileDescriptor _socket;
  std::string _in;
};

}  // namespace Show
