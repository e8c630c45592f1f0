#include "reader/row_fields.h"

#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>

#include "platform/pekt/intf_id.h"
#include "platform/qos/copp_class_name.h"
#include "platform/wib/maybe_u63.h"
#include "reader/units.h"

namespace Show {

namespace {

using Glim::FieldType;
using Glim::SchemaField;
using Json = nlohmann::ordered_json;

template <class T>
T at(void const* row, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<char const*>(row) + offset, sizeof value);
  return value;
}

std::string_view textAt(SchemaField const& field, void const* row) {
  char const* const begin = static_cast<char const*>(row) + field.offset;
  return {begin, ::strnlen(begin, field.count)};
}

Json element(SchemaField const& field, void const* row, std::size_t i) {
  std::size_t const offset = field.offset + i * Glim::fieldSize(field.type);
  switch (field.type) {
    case FieldType::u64:
      return at<std::uint64_t>(row, offset);
    case FieldType::u63: {
      auto const value = Wib::MaybeU63::fromWord(at<std::uint64_t>(row, offset));
      return value.hasValue() ? Json(value.value()) : Json();
    }
    case FieldType::f64: {
      double const value = at<double>(row, offset);
      return std::isfinite(value) ? Json(value) : Json();
    }
    case FieldType::u32:
      return at<std::uint32_t>(row, offset);
    case FieldType::u16:
      return at<std::uint16_t>(row, offset);
    case FieldType::u8:
      return at<std::uint8_t>(row, offset);
    case FieldType::text:
      break;
  }
  return {};
}

// Its key is one text, and nothing else.
bool textKey(Glim::Schema const& schema, std::size_t keyBytes) {
  SchemaField const& first = schema.fields.front();
  return first.type == FieldType::text && first.offset == 0 && first.count == keyBytes;
}

bool intfKey(Glim::Schema const& schema, std::size_t keyBytes) {
  return textKey(schema, keyBytes) && keyBytes == sizeof(Pekt::IntfId);
}

Pekt::IntfId intfIdAt(void const* row) { return at<Pekt::IntfId>(row, 0); }

bool classKey(Glim::Schema const& schema, std::size_t keyBytes) {
  return textKey(schema, keyBytes) && keyBytes == sizeof(Qos::CoppClassName);
}

}  // namespace

Json fieldJson(SchemaField const& field, void const* row) {
  if (field.type == FieldType::text) return std::string(textAt(field, row));
  if (field.count == 1) return element(field, row, 0);
  Json array = Json::array();
  for (std::size_t i = 0; i < field.count; ++i) array.push_back(element(field, row, i));
  return array;
}

Json rowJson(Glim::Schema const& schema, void const* row) {
  Json json = Json::object();
  for (SchemaField const& field : schema.fields) json[field.name] = fieldJson(field, row);
  return json;
}

std::string fieldText(SchemaField const& field, void const* row) {
  if (field.type == FieldType::text) {
    std::string_view const text = textAt(field, row);
    return text.empty() ? "\"\"" : printable(text);
  }
  std::string text;
  for (std::size_t i = 0; i < field.count; ++i) {
    Json const value = element(field, row, i);
    text += (i == 0 ? "" : ", ") + (value.is_null() ? std::string(kNotAvailable) : value.dump());
  }
  return text;
}

std::vector<std::string> keyFields(Glim::Schema const& schema, std::size_t keyBytes) {
  std::vector<std::string> names;
  for (SchemaField const& field : schema.fields)
    if (field.offset + field.size() <= keyBytes) names.push_back(field.name);
  return names;
}

std::string keyText(Glim::Schema const& schema, std::size_t keyBytes, void const* row) {
  std::string text;
  for (SchemaField const& field : schema.fields)
    if (field.offset + field.size() <= keyBytes)
      text += (text.empty() ? "" : ", ") + fieldText(field, row);
  return text;
}

bool keyLess(Glim::Schema const& schema, std::size_t keyBytes, void const* a, void const* b) {
  if (intfKey(schema, keyBytes)) return intfIdAt(a) < intfIdAt(b);
  if (schema.fields.front().type == FieldType::u64 && keyBytes == sizeof(std::uint64_t))
    return at<std::uint64_t>(a, 0) < at<std::uint64_t>(b, 0);
  return std::memcmp(a, b, keyBytes) < 0;
}

Glim::CheckOptions keyKnowledge(Glim::Schema const& schema, std::size_t keyBytes) {
  Glim::CheckOptions options;
  options.keyText = [&schema, keyBytes](void const* key) { return keyText(schema, keyBytes, key); };
  if (intfKey(schema, keyBytes))
    options.keyHash = [](void const* key) { return intfIdAt(key).hash(); };
  if (classKey(schema, keyBytes))
    options.keyHash = [](void const* key) { return at<Qos::CoppClassName>(key, 0).hash(); };
  if (textKey(schema, keyBytes))
    options.keyProblem = [keyBytes](void const* key) -> std::string {
      std::string_view const bytes(static_cast<char const*>(key), keyBytes);
      auto const end = bytes.find('\0');
      if (end == 0) return "its key is empty";
      if (end != std::string_view::npos &&
          bytes.find_first_not_of('\0', end) != std::string_view::npos)
        return "its key is not padded with zeros";
      return {};
    };
  return options;
}

}  // namespace Show
