#include "reader/control_commands.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/kel/system.h"
#include "reader/asking.h"
#include "reader/clear_command.h"
#include "reader/control_client.h"
#include "reader/json_pieces.h"
#include "reader/options.h"
#include "reader/poll_command.h"
#include "reader/reset_command.h"
#include "reader/source.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Command = Options::Command;

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

// Those of which one command may be many questions. They have one answer all the same.
bool asksOften(Command command) {
  return command == Command::poll || command == Command::clear || command == Command::clearCopp ||
         command == Command::clearVlans;
}

// Those that tell what names mean.
std::vector<Table> namingTables(Command command) {
  if (command == Command::clearCopp) return {Table::coppCounters};
  if (command == Command::clearVlans) return {Table::vlanCounters};
  if (command == Command::poll)
    return {Table::counters, Table::descriptions, Table::vlanIntfCounters};
  return {Table::counters, Table::descriptions};
}

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

void printAnswer(Json answer, Json const& done, std::ostream& out) {
  for (auto const& [member, value] : done.items()) answer[member] = value;
  out << jsonText(answer, true);
}

Json noAnswer(char const* why) {
  return {{"ok", false}, {"error", {{"code", "none"}, {"text", why}}}};
}

}  // namespace

ExitCode control(Options const& options, ControlWorld const& world, std::ostream& out,
                 std::ostream& err) {
  bool const often = asksOften(options.command);
  Asking ask(world, out, options.json && !often ? Asking::Echo::all : Asking::Echo::none);
  try {
    if (options.command == Command::clear || options.command == Command::clearVlans) {
      clear(options, world, ask, out);
    } else if (options.command == Command::clearCopp) {
      resetClasses(options, world, ask, out);
    } else if (options.command == Command::poll) {
      poll(options, world, ask, out);
    } else {
      Json const answer = ask(request(options));
      if (!options.json) print(answer, out);
    }
    if (options.json && often) printAnswer({{"ok", true}}, ask.done(), out);
    return ExitCode::ok;
  } catch (NoAnswer const& none) {
    bool const refused = !ask.refusal().is_null();
    if (options.json && (often || !refused))
      printAnswer(refused ? ask.refusal() : noAnswer(none.what()), ask.done(), out);
    return tell({none.problem()}, err);
  } catch (Json::exception const&) {
    char const* const why =
        "the agent's answer is not understood; oru-counters and oru-agentd must be of the same "
        "version";
    if (options.json && often) printAnswer(noAnswer(why), ask.done(), out);
    return tell({{ExitCode::agentFailed, why}}, err);
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
                                        namingTables(options.command), std::nullopt)
                              .take(Kel::System::currentTime());
                        }},
                   out, err);
  } catch (NoAnswer const& none) {
    if (options.json) printAnswer(noAnswer(none.what()), {}, out);
    return tell({none.problem()}, err);
  }
}

}  // namespace Show
