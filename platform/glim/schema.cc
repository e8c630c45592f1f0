#include "platform/glim/schema.h"

#include <charconv>

namespace Glim {

namespace {

// Takes the text up to `end` off the front of `rest`; false when there is no `end`.
bool take(std::string_view& rest, char end, std::string_view& part) {
  auto const at = rest.find(end);
  if (at == std::string_view::npos) return false;
  part = rest.substr(0, at);
  rest.remove_prefix(at + 1);
  return true;
}

bool number(std::string_view text, std::size_t& value) {
  auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool fieldType(std::string_view text, FieldType& type) {
  for (FieldType const known : {FieldType::u64, FieldType::u63, FieldType::f64, FieldType::u32,
                                FieldType::u16, FieldType::u8, FieldType::text}) {
    if (fieldTypeName(known) == text) {
      type = known;
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<Schema> parseSchema(std::string_view text, std::size_t rowBytes) {
  Schema schema;
  std::string_view line;
  if (!take(text, '\n', line)) return {};
  schema.record = line;
  while (take(text, '\n', line)) {
    SchemaField field;
    std::string_view name, type, offset;
    bool const good = take(line, ':', name) && take(line, ':', type) && take(line, ':', offset) &&
                      fieldType(type, field.type) && number(offset, field.offset) &&
                      number(line, field.count);
    if (!good || name.empty() || field.count == 0 || field.count > rowBytes) return {};
    if (field.offset > rowBytes || field.size() > rowBytes - field.offset) return {};
    field.name = name;
    schema.fields.push_back(std::move(field));
  }
  if (!text.empty() || schema.fields.empty()) return {};
  return schema;
}

}  // namespace Glim
