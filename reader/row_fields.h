// The fields of a row by the schema in its table's file, of whatever records that is.
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "platform/glim/schema.h"
#include "platform/glim/table_check.h"

namespace Show {

// A number, or a string; an array of numbers where the field is one. `null` where there is no
// value: an optional counter without one, and a double that is no finite number, which JSON cannot
// tell. A string ends at its first zero byte.
nlohmann::ordered_json fieldJson(Glim::SchemaField const& field, void const* row);
// All fields by their names, in order. REQUIRES: the row is as long as the schema was parsed for.
nlohmann::ordered_json rowJson(Glim::Schema const& schema, void const* row);
// As people read it: "1234", "n/a", "1, 2, 3".
std::string fieldText(Glim::SchemaField const& field, void const* row);

// The names of the fields that are the key: those within the first bytes of the row.
std::vector<std::string> keyFields(Glim::Schema const& schema, std::size_t keyBytes);
// The key as people read it.
std::string keyText(Glim::Schema const& schema, std::size_t keyBytes, void const* row);
// Texts by natural order, numbers by value, other keys by their bytes.
bool keyLess(Glim::Schema const& schema, std::size_t keyBytes, void const* a, void const* b);

// What this program knows of the keys: the hashes of the names of interfaces and of
// policing classes, and how texts are padded.
Glim::CheckOptions keyKnowledge(Glim::Schema const& schema, std::size_t keyBytes);

}  // namespace Show
