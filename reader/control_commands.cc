#include "reader/control_commands.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/kel/system.h"
#include "reader/clock_text.h"
#include "reader/control_client.h"
#include "reader/json_view.h"
#include "reader/select.h"
#include "reader/source.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Command = Options::Command;

// Of a request: what a line may hold of names is limited, and clearing is bounded work for the
// agent between two polls.
constexpr std::size_t kNamesAtOnce = 512;

Json request(Options const& options) {
  auto const word = [&](std::size_t i) {
    return i < options.words.size() ? options.words[i] : std::string();
  };
  switch (options.command) {
    case Command::get:
      return {{"op", "get"}, {"path", word(0)}, {"attribute", word(1)}};
    case Command::set:
      return {{"op", "set"}, {"path", word(0)}, {"attribute", word(1)}, {"value", word(2)}};
    case Command::invoke:
      return {
          {"op", "invoke"},
          {"path", word(0)},
          {"operation", word(1)},
          {"arguments", std::vector<std::string>(options.words.begin() + 2, options.words.end())}};
    default:
      return {{"op", "ls"}, {"path", word(0)}, {"attribute", word(1)}};
  }
}

ExitCode exitCodeOf(std::string const& code) {
  static std::map<std::string, ExitCode> const known{
      {"noPermission", ExitCode::noPermission},     {"unknownPath", ExitCode::refused},
      {"notSupported", ExitCode::refused},          {"unknownOperation", ExitCode::refused},
      {"wrongArguments", ExitCode::wrongArguments}, {"tooLong", ExitCode::wrongArguments},
      {"unknownInterface", ExitCode::unknownName}};
  auto const at = known.find(code);
  return at == known.end() ? ExitCode::agentFailed : at->second;
}

std::string textOf(Json const& object, char const* member) {
  auto const at = object.find(member);
  return at != object.end() && at->is_string() ? at->get<std::string>() : std::string();
}

// Asks, and answers what was answered well. Throws NoAnswer for the rest.
class Asking {
 public:
  Asking(Options const& options, ControlWorld const& world, std::ostream& out)
      : _options(options), _world(world), _out(out) {}

  Json operator()(Json const& question) {
    std::string line;
    try {
      line = question.dump();
    } catch (Json::type_error const&) {
      throw NoAnswer(ExitCode::usage, "what is asked must be text in UTF-8");
    }
    std::string const text = _world.ask(line);
    Json const answer = Json::parse(text, nullptr, false);
    if (!answer.is_object() || !answer.contains("ok"))
      throw NoAnswer(ExitCode::agentFailed,
                     "the agent's answer is not understood; oru-counters and oru-agentd must be of "
                     "the same version");
    if (_options.json) _out << text << '\n';
    if (answer["ok"] == true) return answer;
    _told = true;
    Json const error = answer.value("error", Json::object());
    throw NoAnswer(exitCodeOf(textOf(error, "code")), printable(textOf(error, "text")));
  }
  // Whether the agent itself said what is wrong.
  bool told() const { return _told; }

 private:
  Options const& _options;
  ControlWorld const& _world;
  std::ostream& _out;
  bool _told = false;
};

// In the order in which people count: Ethernet2 before Ethernet10.
std::vector<std::string> inOrder(std::vector<std::string> names) {
  if (std::all_of(names.begin(), names.end(), &Pekt::IntfId::isName))
    std::sort(names.begin(), names.end(), [](std::string const& a, std::string const& b) {
      return Pekt::IntfId(a) < Pekt::IntfId(b);
    });
  return names;
}

void printAttributes(Json const& attributes, std::ostream& out) {
  for (Json const& each : attributes) {
    std::string access;
    for (Json const& one : each.value("access", Json::array()))
      access.append(access.empty() ? "" : ",").append(one.is_string() ? one : Json(""));
    out << printable(textOf(each, "name")) << '\t' << textOf(each, "kind") << '\t' << access;
    if (each.contains("arguments")) out << '\t' << each["arguments"];
    out << '\n';
  }
}

void print(Json const& answer, std::ostream& out) {
  if (answer.contains("value"))
    out << printable(textOf(answer, "value")) << '\n';
  else if (answer.contains("attributes"))
    printAttributes(answer["attributes"], out);
  else if (answer.contains("names"))
    for (auto const& name : inOrder(answer["names"].get<std::vector<std::string>>()))
      out << printable(name) << '\n';
}

// The names of the interfaces that are meant. Throws NoAnswer where one means none.
std::vector<std::string> meant(Options const& options, Snapshot snapshot) {
  auto const unknown = select(snapshot, options.names);
  auto const wrong = problems(snapshot, unknown);
  if (!wasRead(snapshot, Table::counters) && !wrong.empty())
    throw NoAnswer(wrong[0].code, wrong[0].text);
  if (!unknown.empty()) {
    std::string names;
    for (std::string const& name : unknown) names += (names.empty() ? "" : ", ") + printable(name);
    throw NoAnswer(ExitCode::unknownName,
                   "there is no interface " + names + ", and nothing was cleared");
  }
  std::vector<std::string> all;
  for (Intf const& intf : snapshot.interfaces)
    if (intf.counters) all.emplace_back(intf.intfId.view());
  return all;
}

void clear(Options const& options, ControlWorld const& world, Asking& ask, std::ostream& out) {
  if (options.names == std::vector<std::string>{"all"}) {
    Json const answer = ask({{"op", "clear"}, {"all", true}});
    if (!options.json)
      out << "cleared all " << answer.value("cleared", 0u) << " interfaces at "
          << clockText(answer.value("time", 0.0)) << '\n';
    return;
  }
  auto const names = meant(options, world.take());
  for (std::size_t from = 0; from < names.size(); from += kNamesAtOnce) {
    auto const end = std::min(names.size(), from + kNamesAtOnce);
    std::vector<std::string> const some(names.begin() + static_cast<std::ptrdiff_t>(from),
                                        names.begin() + static_cast<std::ptrdiff_t>(end));
    Json const answer = ask({{"op", "clear"}, {"names", some}});
    if (options.json) continue;
    for (std::string const& name : answer.value("names", some))
      out << "cleared " << printable(name) << " at " << clockText(answer.value("time", 0.0))
          << '\n';
  }
}

ExitCode tellNoAnswer(NoAnswer const& none, bool toldAlready, Options const& options,
                      std::ostream& out, std::ostream& err) {
  if (options.json && !toldAlready)
    out << Json{{"ok", false}, {"error", {{"code", "none"}, {"text", none.what()}}}}.dump(
               -1, ' ', false, Json::error_handler_t::replace)
        << '\n';
  return tell({none.problem()}, err);
}

}  // namespace

ExitCode control(Options const& options, ControlWorld const& world, std::ostream& out,
                 std::ostream& err) {
  Asking ask(options, world, out);
  try {
    if (options.command == Command::clear) {
      clear(options, world, ask, out);
    } else {
      Json const answer = ask(request(options));
      if (!options.json) print(answer, out);
    }
    return ExitCode::ok;
  } catch (NoAnswer const& none) {
    return tellNoAnswer(none, ask.told(), options, out, err);
  } catch (Json::exception const&) {
    return tellNoAnswer({ExitCode::agentFailed,
                         "the agent's answer is not understood; oru-counters and oru-agentd must "
                         "be of the same version"},
                        true, options, out, err);
  }
}

ExitCode control(Options const& options, std::ostream& out, std::ostream& err) {
  try {
    ControlClient client(options.directory, options.trust(), options.timeout);
    return control(options,
                   {.ask = [&client](std::string const& line) { return client.ask(line); },
                    .take =
                        [&options] {
                          return Source(options.directory, options.trust(),
                                        {Table::counters, Table::descriptions})
                              .take(Kel::System::currentTime());
                        }},
                   out, err);
  } catch (NoAnswer const& none) {
    return tellNoAnswer(none, false, options, out, err);
  }
}

}  // namespace Show
