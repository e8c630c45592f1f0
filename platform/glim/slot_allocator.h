// How the rows of a table lie in slots of its file: the template argument of GlimMap and of its
// relatives that says so.
#pragma once

#include <type_traits>

#include "platform/glim/row_shape.h"

namespace Glim {

// How rows of a value lie in slots.
template <class Key, class Value>
struct SlotAllocator {
  using Record = typename Value::Record;
  static_assert(std::is_same_v<Key, typename RecordTraits<Record>::Key>);

  template <class Ops>
  static RowShape const& shape() {
    return rowShape<Record, Ops>();
  }
};

}  // namespace Glim
