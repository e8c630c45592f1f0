#include "platform/glim/row_print.h"

#include <cstring>

#include "platform/kel/strep.h"
#include "platform/wib/maybe_u63.h"

namespace Glim {

namespace {

template <class T>
T at(char const* place) {
  T value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

std::string elementText(FieldType type, char const* place) {
  switch (type) {
    case FieldType::u64:
      return std::to_string(at<std::uint64_t>(place));
    case FieldType::u63:
      return Kel::toStrep(Wib::MaybeU63::fromWord(at<std::uint64_t>(place)));
    case FieldType::f64:
      return Kel::numberText(at<double>(place));
    case FieldType::u32:
      return std::to_string(at<std::uint32_t>(place));
    case FieldType::u16:
      return std::to_string(at<std::uint16_t>(place));
    case FieldType::u8:
      return std::to_string(at<std::uint8_t>(place));
    case FieldType::text:
      break;
  }
  return {};
}

std::string fieldText(Field const& field, char const* place) {
  if (field.type == FieldType::text) return {place, ::strnlen(place, field.count)};
  std::string text = elementText(field.type, place);
  for (std::size_t i = 1; i < field.count; ++i) {
    text.append(",").append(elementText(field.type, place + i * fieldSize(field.type)));
  }
  return text;
}

}  // namespace

std::string rowText(std::span<Field const> fields, void const* row) {
  std::string text;
  for (Field const& field : fields) {
    if (!text.empty()) text.append(" ");
    text.append(field.name).append(" ");
    text.append(fieldText(field, static_cast<char const*>(row) + field.offset));
  }
  return text;
}

}  // namespace Glim
