#include "agent/log.h"

#include <cstdio>

namespace Agent {

void say(std::string const& text) {
  std::string const line = "oru-agentd: " + text + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);  // one write, for who reads it line by line
}

void SayOnce::operator()(std::string const& text) {
  if (text == _said) return;
  _said = text;
  if (!text.empty()) say(text);
}

}  // namespace Agent
