// Names of control-plane policing classes: the key of everything that is kept per class.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/kel/text.h"

namespace Qos {

// The name of a class, such as "copp-system-bgp". Any text of up to kMaxLength bytes without a NUL
// makes one. Trivially copyable, since it stands in shared memory as a key.
class CoppClassName {
 public:
  static constexpr std::size_t kMaxLength = 63;

  // Whether a text makes a name: at most kMaxLength bytes, no NUL.
  static bool isName(std::string_view text);

  CoppClassName() = default;  // the empty name
  // Throws Kel::RangeException where isName(text) is false.
  CoppClassName(std::string_view text);
  CoppClassName(char const* text) : CoppClassName(std::string_view(text)) {}
  CoppClassName(Kel::String const& text) : CoppClassName(text.view()) {}
  CoppClassName(std::string const& text) : CoppClassName(std::string_view(text)) {}

  std::string_view view() const;
  Kel::String stringValue() const { return Kel::String(view()); }
  bool empty() const { return _text[0] == '\0'; }
  std::uint32_t hash() const;

  bool operator==(CoppClassName const&) const = default;
  // By bytes.
  bool operator<(CoppClassName const& other) const { return view() < other.view(); }
  friend std::ostream& operator<<(std::ostream& out, CoppClassName const& name) {
    return out << name.view();
  }

 private:
  alignas(8) std::array<char, kMaxLength + 1> _text{};  // padded with zeros
};

}  // namespace Qos
