// Names of control-plane policing classes: the key of everything that is kept per class.
#pragma once

#include <string>
#include <string_view>

#include "platform/pekt/text_key.h"

namespace Qos {

// The name of a class, such as "copp-system-bgp".
class CoppClassName : public Pekt::TextKey<64> {
 public:
  CoppClassName() = default;  // the empty name
  // Throws Kel::RangeException where isName(text) is false.
  CoppClassName(std::string_view text) : TextKey(text, "the name of a policing class") {}
  CoppClassName(char const* text) : CoppClassName(std::string_view(text)) {}
  CoppClassName(Kel::String const& text) : CoppClassName(text.view()) {}
  CoppClassName(std::string const& text) : CoppClassName(std::string_view(text)) {}
};

}  // namespace Qos
