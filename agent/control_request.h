// The requests that clients of the control socket make: a line each, which holds a JSON object.
// docs/control.md lists them. Knows of text alone, and not of what can be asked for.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// Why a request was not carried out. The names are stable; clients depend on them.
enum class ControlCode {
  badRequest,        // not a request in the form that this agent knows
  tooLong,           // a line, or a path, beyond the limits
  unknownOperation,  // a request of a kind that there is not
  noPermission,      // the client's user may only read
  unknownPath,       // a root, collection, key or attribute that there is not
  notSupported,      // the attribute does not offer this
  wrongArguments,    // their number, or a text that is no such value
  unknownInterface,  // nothing was cleared
  unknownVlan,       // likewise
  failed,            // it was tried, and the agent could not
  busy,              // too many clients
  timeout,           // the client kept the agent waiting
};
std::string_view name(ControlCode code);

class ControlError : public std::runtime_error {
 public:
  // `text` says what is wrong, and what to do.
  ControlError(ControlCode code, std::string const& text) : std::runtime_error(text), _code(code) {}
  ControlCode code() const { return _code; }

 private:
  ControlCode _code;
};

struct ControlRequest {
  enum class Operation { get, ls, set, invoke, clear };

  Operation operation = Operation::get;
  std::string path;                    // of an object, see ObjectTree
  std::string attribute;               // or the operation to invoke
  std::string value;                   // set: the new one
  std::vector<std::string> arguments;  // invoke
  std::vector<std::string> names;      // clear: these; none: all
  bool ofVlans = false;                // clear: VLANs, by their ids, and not interfaces

  // For those who may write alone.
  bool changes() const { return operation != Operation::get && operation != Operation::ls; }
};

// Throws ControlError.
ControlRequest readControlRequest(std::string_view line);

}  // namespace Agent
