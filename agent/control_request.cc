#include "agent/control_request.h"

#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>

namespace Agent {
namespace {

using Json = nlohmann::json;
using Operation = ControlRequest::Operation;

// A request is an object with at most a list in it.
constexpr int kMaxDepth = 2;

[[noreturn]] void bad(std::string const& why) {
  throw ControlError(ControlCode::badRequest,
                     why + R"(; a request is one line such as {"op":"get","path":"countersSm",)"
                           R"("attribute":"counterPollPeriod"})");
}

Json parsed(std::string_view line) {
  auto const shallow = [](int depth, Json::parse_event_t event, Json&) {
    bool const opens =
        event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
    if (opens && depth >= kMaxDepth) bad("the request is nested too deeply");
    return true;
  };
  try {
    return Json::parse(line, shallow);
  } catch (Json::parse_error const& error) {
    bad("the line is not JSON in UTF-8: see its byte " + std::to_string(error.byte));
  } catch (Json::out_of_range const&) {
    bad("a number is too large");
  }
}

// A text, where there is one. Nothing that is named here holds a NUL.
std::string text(Json const& value, std::string const& member) {
  if (!value.is_string()) bad("\"" + member + "\" must be a string");
  auto const& found = value.get_ref<std::string const&>();
  if (found.find('\0') != std::string::npos) bad("\"" + member + "\" must not hold a NUL");
  return found;
}

std::vector<std::string> texts(Json const& value, std::string const& member) {
  if (!value.is_array()) bad("\"" + member + "\" must be a list of strings");
  std::vector<std::string> all;
  for (Json const& each : value) all.push_back(text(each, member));
  return all;
}

// The members of a request, each of which must be asked for.
class Members {
 public:
  explicit Members(std::string_view line) : _json(parsed(line)) {
    if (!_json.is_object()) bad("a request is a JSON object");
  }

  std::optional<Json> take(std::string const& member) {
    auto const at = _json.find(member);
    if (at == _json.end()) return std::nullopt;
    Json const value = std::move(*at);
    _json.erase(at);
    return value;
  }
  std::string takeText(std::string const& member) {
    auto const value = take(member);
    if (!value) bad("\"" + member + "\" is missing");
    return text(*value, member);
  }
  std::string takeTextOrNone(std::string const& member) {
    auto const value = take(member);
    return value ? text(*value, member) : std::string();
  }
  void expectNoMore() const {
    if (!_json.empty()) bad("\"" + _json.begin().key() + "\" is no member of such a request");
  }

 private:
  Json _json;
};

Operation operationOf(std::string const& op) {
  static std::map<std::string, Operation> const known{{"get", Operation::get},
                                                      {"ls", Operation::ls},
                                                      {"set", Operation::set},
                                                      {"invoke", Operation::invoke},
                                                      {"clear", Operation::clear}};
  auto const at = known.find(op);
  if (at == known.end())
    throw ControlError(ControlCode::unknownOperation,
                       "there is no operation \"" + op.substr(0, 64) +
                           "\"; there are get, ls, set, invoke and clear");
  return at->second;
}

void readClear(Members& members, ControlRequest& request) {
  struct Form {
    char const* member;
    bool ofVlans;
    char const* all;  // what takes its place to clear all; none: it is that
  };
  static constexpr std::array<Form, 4> forms{{{"names", false, "all"},
                                              {"all", false, nullptr},
                                              {"vlans", true, "allVlans"},
                                              {"allVlans", true, nullptr}}};
  int found = 0;
  for (auto const& [member, ofVlans, all] : forms) {
    auto const value = members.take(member);
    if (!value) continue;
    ++found;
    std::string const quoted = "\"" + std::string(member) + "\"";
    request.ofVlans = ofVlans;
    if (all == nullptr) {
      if (*value != Json(true)) bad(quoted + " can only be true");
      continue;
    }
    request.names = texts(*value, member);
    if (request.names.empty())
      bad(quoted + " is empty; to clear everything, \"" + all + "\" must be true");
  }
  if (found != 1) bad(R"(clear takes one of "names", "all", "vlans" and "allVlans")");
}

}  // namespace

std::string_view name(ControlCode code) {
  static constexpr std::array<std::string_view, 12> names{
      "badRequest",   "tooLong",        "unknownOperation", "noPermission", "unknownPath",
      "notSupported", "wrongArguments", "unknownInterface", "unknownVlan",  "failed",
      "busy",         "timeout"};
  return names.at(static_cast<std::size_t>(code));
}

ControlRequest readControlRequest(std::string_view line) {
  Members members(line);
  ControlRequest request;
  request.operation = operationOf(members.takeText("op"));
  switch (request.operation) {
    case Operation::get:
      request.path = members.takeText("path");
      request.attribute = members.takeText("attribute");
      break;
    case Operation::ls:
      request.path = members.takeTextOrNone("path");
      request.attribute = members.takeTextOrNone("attribute");
      break;
    case Operation::set:
      request.path = members.takeText("path");
      request.attribute = members.takeText("attribute");
      request.value = members.takeText("value");
      break;
    case Operation::invoke:
      request.path = members.takeText("path");
      request.attribute = members.takeText("operation");
      if (auto const arguments = members.take("arguments"))
        request.arguments = texts(*arguments, "arguments");
      break;
    case Operation::clear:
      readClear(members, request);
      break;
  }
  members.expectNoMore();
  return request;
}

}  // namespace Agent
