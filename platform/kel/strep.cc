#include "platform/kel/strep.h"

#include <cxxabi.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "platform/kel/type_node.h"

namespace Kel {

std::string typeText(PtrInterface const& object) {
  if (TypeNode const* const type = object.fwkType()) return std::string(type->name());
  char const* const mangled = typeid(object).name();
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> const name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 ? name.get() : mangled;
}

std::string valueToStrepOfRawPtr(PtrInterface const* object) {
  if (!object) return "null";
  std::ostringstream out;
  out << typeText(*object) << '@' << static_cast<void const*>(object);
  return out.str();
}

std::string numberText(double value) {
  std::array<char, 32> text;
  auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

void throwUnreadable(std::string_view text) {
  throwRangeException("cannot read \"" + std::string(text) + '"');
}

}  // namespace Kel
