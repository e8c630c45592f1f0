#include "platform/kel/strep.h"

#include "platform/kel/type_node.h"

namespace Kel {

std::string valueToStrepOfRawPtr(PtrInterface const* object) {
  if (!object) return "null";
  TypeNode const* const type = object->fwkType();
  std::ostringstream out;
  out << (type ? type->name() : "object") << '@' << static_cast<void const*>(object);
  return out.str();
}

void throwUnreadable(std::string_view text) {
  throwRangeException("cannot read \"" + std::string(text) + '"');
}

}  // namespace Kel
