// Names as keys of what stands in shared memory.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/kel/text.h"
#include "platform/pekt/word_hash.h"

namespace Pekt {

// Throws Kel::RangeException: `what` has at most `most` bytes and no NUL, which `text` does not
// keep.
[[noreturn]] void throwNoName(std::string_view what, std::size_t most, std::string_view text);

// A name in `size` bytes: any text of up to kMaxLength bytes without a NUL. Trivially copyable, and
// whole words. Compared by bytes, unless the kind of name has another order.
template <std::size_t size>
class TextKey {
  static_assert(size % 8 == 0);

 public:
  static constexpr std::size_t kMaxLength = size - 1;

  // Whether a text makes a name: at most kMaxLength bytes, no NUL.
  static bool isName(std::string_view text) {
    return text.size() <= kMaxLength && text.find('\0') == std::string_view::npos;
  }

  TextKey() = default;  // the empty name

  std::string_view view() const {
    // A name read from a damaged table may lack its end.
    return {_text.data(), strnlen(_text.data(), _text.size())};
  }
  Kel::String stringValue() const { return Kel::String(view()); }
  bool empty() const { return _text[0] == '\0'; }
  std::uint32_t hash() const {
    return wordHash(std::bit_cast<std::array<std::uint64_t, size / 8>>(*this));
  }

  bool operator==(TextKey const&) const = default;
  bool operator<(TextKey const& other) const { return view() < other.view(); }
  friend std::ostream& operator<<(std::ostream& out, TextKey const& key) {
    return out << key.view();
  }

 protected:
  // Throws as throwNoName where isName(text) is false.
  TextKey(std::string_view text, std::string_view what) {
    if (!isName(text)) throwNoName(what, kMaxLength, text);
    std::copy(text.begin(), text.end(), _text.begin());
  }

 private:
  alignas(8) std::array<char, size> _text{};  // padded with zeros
};

}  // namespace Pekt
