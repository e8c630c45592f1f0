// The sorted collections of entities.
#pragma once

#include <map>

namespace Kel {

template <class Value, class Key>
using RbTreeMap = std::map<Key, Value>;

}  // namespace Kel
