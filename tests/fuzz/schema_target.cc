#include "platform/glim/schema.h"
#include "tests/fuzz/targets.h"

namespace Fuzz {

std::string trySchema(std::string_view bytes) {
  if (bytes.size() < 2) return {};
  auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  std::size_t const rowBytes = byte(0) * 256u + byte(1);
  auto const schema = Glim::parseSchema(bytes.substr(2), rowBytes);
  if (!schema) return {};
  if (schema->fields.empty()) return "a schema has fields";
  // What is parsed and told again is what was there, but for numbers with zeros before them.
  for (auto const& field : schema->fields) {
    if (field.offset > rowBytes || field.size() > rowBytes - field.offset) {
      return "fields lie within the row";
    }
    if (field.name.empty() || field.name.find_first_of(":\n") != std::string::npos) {
      return "fields have names";
    }
    if (field.count == 0) return "fields have elements";
  }
  return {};
}

}  // namespace Fuzz
