#include "agent/control_dispatcher.h"

#include <algorithm>
#include <exception>
#include <nlohmann/json.hpp>

#include "platform/dov/exception.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/system.h"
#include "platform/kel/type_node.h"

namespace Agent {
namespace {

using Json = nlohmann::ordered_json;
using Kel::Attribute;
using Kel::AttributeKind;
using Operation = ControlRequest::Operation;

// Names and values may hold any bytes, JSON may not.
std::string lineOf(Json const& answer) {
  return answer.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

char const* kindText(AttributeKind kind) {
  switch (kind) {
    case AttributeKind::parameter:
      return "parameter";
    case AttributeKind::key:
      return "key";
    case AttributeKind::input:
      return "input";
    case AttributeKind::value:
      return "value";
    case AttributeKind::collection:
      return "collection";
    case AttributeKind::operation:
      return "operation";
  }
  return "unknown";
}

// The words of requests, and not the framework's.
std::vector<std::string> accessOf(Attribute const& attribute) {
  std::vector<std::string> access;
  if (attribute.read) access.emplace_back("get");
  if (attribute.set) access.emplace_back("set");
  if (attribute.iterKey) access.emplace_back("ls");
  if (attribute.invoke) access.emplace_back("invoke");
  return access;
}

Json attributesJson(Kel::TypeNode const& type) {
  Json all = Json::array();
  for (Attribute const& each : type.attributes()) {
    Json one{{"name", std::string(each.name)},
             {"kind", kindText(each.kind)},
             {"access", accessOf(each)}};
    if (each.invoke) one["arguments"] = each.arity;
    all.push_back(std::move(one));
  }
  return all;
}

// Where objects of this process lie is nothing for those who may only read.
std::string withoutAddress(std::string text) {
  auto const at = text.rfind("@0x");
  bool const isAddress = at != std::string::npos &&
                         text.find_first_not_of("0123456789abcdef", at + 3) == std::string::npos;
  return isAddress ? text.substr(0, at) : text;
}

Attribute const& attributeOf(Kel::PtrInterface const& object, std::string const& name,
                             std::string const& wanted) {
  for (Attribute const& each : object.fwkType()->attributes()) {
    if (each.name != name) continue;
    auto const access = accessOf(each);
    if (std::find(access.begin(), access.end(), wanted) != access.end()) return each;
    std::string offered;
    for (std::string const& one : access) offered += (offered.empty() ? "" : ", ") + one;
    throw ControlError(ControlCode::notSupported, name + " does not offer " + wanted + ", but " +
                                                      (offered.empty() ? "nothing" : offered));
  }
  throw ControlError(ControlCode::unknownPath, std::string(object.fwkType()->name()) + " has no " +
                                                   name + "; ls of its path lists what it has");
}

bool isUnreadable(std::string const& text, Kel::RangeException const& error) {
  return error.what() == "cannot read \"" + text + '"';
}

Json get(ObjectTree const& tree, ControlRequest const& request, bool mayWrite) {
  auto const object = tree.object(request.path);
  attributeOf(*object, request.attribute, "get");
  std::string const value = Kel::read(*object, request.attribute);
  return {{"ok", true}, {"value", mayWrite ? value : withoutAddress(value)}};
}

Json ls(ObjectTree const& tree, ControlRequest const& request) {
  if (request.path.empty() && request.attribute.empty())
    return {{"ok", true}, {"names", tree.roots()}};
  auto place = tree.find(request.path);
  if (!request.attribute.empty()) {
    place.object = tree.object(request.path);
    attributeOf(*place.object, request.attribute, "ls");
    place.collection = request.attribute;
  }
  if (!place.collection.empty())
    return {{"ok", true}, {"names", Kel::iterKey(*place.object, place.collection)}};
  Kel::TypeNode const& type = *place.object->fwkType();
  return {{"ok", true}, {"type", std::string(type.name())}, {"attributes", attributesJson(type)}};
}

Json set(ObjectTree const& tree, ControlRequest const& request) {
  auto const object = tree.object(request.path);
  Attribute const& attribute = attributeOf(*object, request.attribute, "set");
  try {
    Kel::set(*object, request.attribute, request.value);
  } catch (Kel::RangeException const& error) {
    if (!isUnreadable(request.value, error)) throw;
    // What it takes, its own value shows.
    std::string const now =
        attribute.read ? "; it is " + Kel::read(*object, request.attribute) + " now" : "";
    throw ControlError(ControlCode::wrongArguments, request.attribute + ": " + error.what() + now);
  }
  return {{"ok", true}};
}

Json invoke(ObjectTree const& tree, ControlRequest const& request) {
  auto const object = tree.object(request.path);
  attributeOf(*object, request.attribute, "invoke");
  try {
    Kel::invoke(*object, request.attribute, request.arguments);
  } catch (Kel::RangeException const& error) {
    for (std::size_t i = 0; i < request.arguments.size(); ++i)
      if (isUnreadable(request.arguments[i], error))
        throw ControlError(
            ControlCode::wrongArguments,
            "argument " + std::to_string(i + 1) + " of " + request.attribute + ": " + error.what());
    throw;
  }
  return {{"ok", true}};
}

template <class Clearing>
Json clear(Clearing& clearing, ControlRequest const& request) {
  Json answer{{"ok", true}};
  if (request.names.empty()) {
    answer["cleared"] = clearing.all();
  } else {
    auto const names = clearing.these(request.names);
    answer["cleared"] = names.size();
    answer[request.ofVlans ? "vlans" : "names"] = names;
  }
  answer["time"] = Kel::System::currentTime();
  return answer;
}

Json carriedOut(ObjectTree const& tree, Clearing& clearing, VlanClearing& vlanClearing,
                ControlRequest const& request, bool mayWrite) {
  if (request.changes() && !mayWrite)
    throw ControlError(ControlCode::noPermission,
                       "this takes the superuser or the agent's own user; others may only get and "
                       "ls");
  switch (request.operation) {
    case Operation::get:
      return get(tree, request, mayWrite);
    case Operation::ls:
      return ls(tree, request);
    case Operation::set:
      return set(tree, request);
    case Operation::invoke:
      return invoke(tree, request);
    case Operation::clear:
      return request.ofVlans ? clear(vlanClearing, request) : clear(clearing, request);
  }
  throw ControlError(ControlCode::unknownOperation, "there is no such operation");
}

// What the framework throws, told in its own words.
ControlError refusal(Kel::RangeException const& error) {
  std::string const text = error.what();
  if (text == "null ValidPtr")
    return {ControlCode::failed, "this agent has not set up what it takes (" + text + ")"};
  return {ControlCode::wrongArguments, text};
}

}  // namespace

std::string controlErrorLine(ControlError const& error) {
  return lineOf({{"ok", false},
                 {"error", {{"code", std::string(name(error.code()))}, {"text", error.what()}}}});
}

std::string ControlDispatcher::answer(std::string_view line, bool mayWrite) {
  try {
    ControlRequest const request = readControlRequest(line);
    return lineOf(carriedOut(_tree, _clearing, _vlanClearing, request, mayWrite));
  } catch (ControlError const& error) {
    return controlErrorLine(error);
  } catch (Kel::OpNotSupportedException const& error) {
    return controlErrorLine({ControlCode::notSupported, error.what()});
  } catch (Kel::RangeException const& error) {
    return controlErrorLine(refusal(error));
  } catch (Kel::NameInUseException const& error) {
    return controlErrorLine(
        {ControlCode::failed,
         std::string("what there is was made from other values, and goes on as it is: ") +
             error.what()});
  } catch (Dov::Exception const& error) {
    return controlErrorLine({ControlCode::failed, error.msg()});
  } catch (std::exception const& error) {
    return controlErrorLine({ControlCode::failed, error.what()});
  }
}

}  // namespace Agent
