#include "hardware/simulated/script.h"

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <deque>
#include <istream>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>

namespace Hardware::Simulated {

namespace {

// One line: hands out its words and says what is wrong with it.
class Line {
 public:
  Line(unsigned number, std::string const& text) : _number(number) {
    std::istringstream words(text.substr(0, text.find('#')));
    for (std::string word; words >> word;) _words.push_back(word);
  }

  [[noreturn]] void fail(std::string const& why) const {
    throw ScriptError("line " + std::to_string(_number) + ": " + why);
  }

  bool done() const { return _words.empty(); }

  std::string word(std::string_view what) {
    if (done()) fail("ends where " + std::string(what) + " should stand");
    std::string const first = _words.front();
    _words.pop_front();
    return first;
  }

  void keyword(std::string_view expected) {
    std::string const found = word("'" + std::string(expected) + "'");
    if (found != expected)
      fail("'" + found + "' where '" + std::string(expected) + "' should stand");
  }

  // Takes the next word if it is this one.
  bool takes(std::string_view keyword) {
    if (done() || _words.front() != keyword) return false;
    _words.pop_front();
    return true;
  }

  bool endsIn(std::string_view suffix) const { return !done() && _words.front().ends_with(suffix); }

  // A number, which may have a unit right behind it; negative ones are not numbers here.
  template <typename Number>
  Number number(std::string_view what, std::string_view unit = "") {
    std::string const found = word(what);
    Number value{};
    char const* const end = found.data() + found.size();
    auto const [rest, error] = std::from_chars(found.data(), end, value);
    bool good = error == std::errc() && std::string_view(rest, end) == unit;
    if constexpr (std::floating_point<Number>) {
      good = good && std::isfinite(value) && !std::signbit(value);
    }
    if (!good) fail("'" + found + "' is not " + std::string(what));
    return value;
  }

  void end() const {
    if (!done()) fail("'" + _words.front() + "' is too much");
  }

 private:
  unsigned _number;
  std::deque<std::string> _words;
};

double rateOf(Line& line) {
  constexpr std::array<std::pair<std::string_view, double>, 2> large = {
      {{"kpps", 1e3}, {"Mpps", 1e6}}};
  constexpr std::string_view what = "a rate like 1000pps, 20kpps or 1.5Mpps";
  constexpr double most = 1e10;  // within which centuries do not fill a counter's 64 bits
  double unit = 1.0;
  std::string_view suffix = "pps";
  for (auto const& [name, factor] : large) {
    if (line.endsIn(name)) std::tie(suffix, unit) = std::tie(name, factor);
  }
  double const rate = line.number<double>(what, suffix) * unit;
  if (rate > most) line.fail("a rate is at most 10000Mpps");
  return rate;
}

Seconds durationOf(Line& line) {
  auto const seconds = line.number<double>("a number of seconds");
  if (seconds == 0.0) line.fail("no time at all");
  return seconds;
}

Flow flowOf(Line& line, Fate fate, Seconds from) {
  Flow flow{.fate = fate, .framesPerSecond = rateOf(line), .from = from};
  if (line.endsIn("B")) flow.octets = line.number<std::uint32_t>("a size like 512B", "B");
  if (line.takes("queue")) {
    flow.queue = line.number<std::uint8_t>("a queue from 0 to 7");
    if (flow.queue >= egressQueues) line.fail("there are queues 0 to 7 only");
  }
  if (line.takes("every")) {
    flow.every = durationOf(line);
    line.keyword("for");
    flow.lasts = durationOf(line);
    if (flow.lasts > flow.every) line.fail("a burst lasts longer than the time until the next");
  } else if (line.takes("for")) {
    flow.until = from + durationOf(line);
  }
  return flow;
}

Pekt::IntfId portOf(Line& line) {
  std::string const name = line.word("the name of a port");
  if (name.size() <= Pekt::IntfId::kMaxLength) {
    Pekt::IntfId const intfId(name.c_str());
    if (Pekt::EthIntfId::isEthIntfId(intfId) || Pekt::VlanIntfId::isVlanIntfId(intfId)) {
      return intfId;
    }
  }
  line.fail("'" + name + "' is no port: Ethernet<n> or Vlan<id>");
}

void readEvent(Line& line, Seconds when, Port& port) {
  std::string const event = line.word("what happens");
  if (auto const fate = fateNamed(event)) {
    port.add(flowOf(line, *fate, when));
  } else if (event == "stop") {
    port.stopAt(when);
  } else if (event == "reset") {
    port.resetAt(when);
  } else if (event == "appear") {
    port.appearAt(when);
  } else if (event == "vanish") {
    port.vanishAt(when);
  } else if (event == "break") {
    std::string const total = line.word("inErrors or outErrors");
    if (total == "inErrors") {
      port.breakInErrorsAt(when);
    } else if (total == "outErrors") {
      port.breakOutErrorsAt(when);
    } else {
      line.fail("only inErrors and outErrors can be broken, not '" + total + "'");
    }
  } else if (event == "count-from") {
    port.countsFrom(line.number<std::uint64_t>("a count"));
  } else if (event == "no-optional-counters") {
    port.hasOptionalCounters(false);
  } else {
    line.fail("unknown event '" + event + "'");
  }
}

}  // namespace

void readScript(std::istream& script, Chip& chip) {
  Seconds last = 0.0;
  unsigned number = 0;
  for (std::string text; std::getline(script, text);) {
    Line line(++number, text);
    if (line.done()) continue;
    line.keyword("at");
    auto const when = line.number<double>("a number of seconds");
    if (when < last) line.fail("goes back in time");
    last = when;
    line.keyword("port");
    readEvent(line, when, chip.port(portOf(line)));
    line.end();
  }
}

}  // namespace Hardware::Simulated
