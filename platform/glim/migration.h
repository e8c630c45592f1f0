// Carries rows of a record's older schema over into today's, field by field, by their names.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/glim/row_shape.h"
#include "platform/glim/schema.h"

namespace Glim {

class Migration {
 public:
  // From rows of `fromBytes` bytes under the schema `from`. Nothing when that is no schema, or when
  // its rows do not begin with the same key.
  static std::optional<Migration> plan(std::string_view from, std::size_t fromBytes,
                                       RowShape const& to);

  // Whether today's record has this field of the older one, and can hold all of its values: the
  // same type, or a wider one without a sign.
  static bool carries(FieldType from, FieldType to);

  // `to` is today's row. Fields that the older row does not have, or has with a type that does not
  // carry over, get the values of the default row; of arrays that became shorter the front is kept.
  void carry(void const* from, void* to) const;

 private:
  struct Step {
    SchemaField from;
    SchemaField to;
  };

  Migration(RowShape const& to) : _to(&to) {}

  RowShape const* _to;
  std::vector<Step> _steps;
};

}  // namespace Glim
