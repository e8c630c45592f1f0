#include "platform/glim/schema.h"
#include "tests/fuzz/targets.h"

namespace Fuzz {

namespace {

std::string textOf(Glim::Schema const& schema) {
  std::string text = schema.record + '\n';
  for (auto const& field : schema.fields)
    text.append(field.name)
        .append(":")
        .append(Glim::fieldTypeName(field.type))
        .append(":" + std::to_string(field.offset) + ":" + std::to_string(field.count) + "\n");
  return text;
}

}  // namespace

std::string trySchema(std::string_view bytes) {
  if (bytes.size() < 2) return {};
  auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  std::size_t const rowBytes = byte(0) * 256u + byte(1);
  auto const schema = Glim::parseSchema(bytes.substr(2), rowBytes);
  if (!schema) return {};
  if (schema->fields.empty()) return "a schema has fields";
  for (auto const& field : schema->fields) {
    if (field.offset > rowBytes || field.size() > rowBytes - field.offset) {
      return "fields lie within the row";
    }
    if (field.name.empty() || field.name.find_first_of(":\n") != std::string::npos) {
      return "fields have names";
    }
    if (field.count == 0) return "fields have elements";
  }
  auto const again = Glim::parseSchema(textOf(*schema), rowBytes);
  if (!again || again->record != schema->record || again->fields != schema->fields)
    return "what is parsed reads the same when it is told again";
  return {};
}

}  // namespace Fuzz
