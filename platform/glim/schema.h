// The schema of a table as its file tells it, for programs that do not know the record.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/glim/record.h"

namespace Glim {

struct SchemaField {
  std::string name;
  FieldType type = FieldType::u64;
  std::size_t offset = 0;  // bytes from the row's start
  std::size_t count = 1;

  std::size_t size() const { return fieldSize(type) * count; }
  bool operator==(SchemaField const&) const = default;
};

struct Schema {
  std::string record;
  std::vector<SchemaField> fields;
};

// Nothing when the text is no schema of rows of that many bytes: every field that is returned lies
// within the row.
std::optional<Schema> parseSchema(std::string_view text, std::size_t rowBytes);

}  // namespace Glim
