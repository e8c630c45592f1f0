// Text within a table's row.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace Interface {

// Zero-padded text of a row; longer text is cut at a UTF-8 boundary.
template <std::size_t size>
struct PaddedText {
  std::array<char, size> bytes{};

  PaddedText() = default;
  PaddedText(std::string_view text) {
    std::size_t length = text.size() < size ? text.size() : size;
    while (length < text.size() && length > 0 &&
           (static_cast<unsigned char>(text[length]) & 0xc0u) == 0x80u)
      --length;
    for (std::size_t i = 0; i < length; ++i) bytes[i] = text[i];
  }
  std::string_view view() const {
    std::size_t length = 0;
    while (length < size && bytes[length] != '\0') ++length;
    return {bytes.data(), length};
  }
  bool operator==(PaddedText const&) const = default;
};

}  // namespace Interface
