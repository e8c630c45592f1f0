// A row in words: its fields by name, for traces and for people who look for a mistake.
#pragma once

#include <span>
#include <string>

#include "platform/glim/record.h"

namespace Glim {

// "intfId Ethernet1 inOctets 12 fecLanes 0,0,3": each field's name and its elements. A u63 without
// a value is n/a; a double is the shortest text that reads back as it.
std::string rowText(std::span<Field const> fields, void const* row);

}  // namespace Glim
