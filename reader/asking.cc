#include "reader/asking.h"

#include <ostream>

#include "reader/control_client.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

ExitCode exitCodeOf(std::string_view code) {
  for (auto const& [known, exitCode] : kRefusals)
    if (known == code) return exitCode;
  return ExitCode::agentFailed;
}

}  // namespace

std::string textOf(Json const& object, char const* member) {
  auto const at = object.find(member);
  return at != object.end() && at->is_string() ? at->get<std::string>() : std::string();
}

Json Asking::operator()(Json const& question) {
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
  bool const well = answer["ok"] == true;
  if (_echo == Echo::all) _out << text << '\n';
  if (well) return answer;
  _refusal = answer;
  Json const error = answer.value("error", Json::object());
  throw NoAnswer(exitCodeOf(textOf(error, "code")), printable(textOf(error, "text")));
}

}  // namespace Show
