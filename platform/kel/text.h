// Texts: Kel::String, shared and immutable, and Kel::Name, a name in the
// object database.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace Kel {

// Reference-counted text; a copy costs a reference, never the characters.
class String {
 public:
  String() = default;
  String(char const* text) : String(std::string_view(text)) {}
  String(std::string_view text) {
    if (!text.empty()) _text = std::make_shared<std::string const>(text);
  }
  String(std::string const& text) : String(std::string_view(text)) {}

  std::string_view view() const { return _text ? std::string_view(*_text) : std::string_view(); }
  std::string str() const { return std::string(view()); }
  char const* c_str() const { return _text ? _text->c_str() : ""; }
  bool empty() const { return !_text; }

  bool operator==(String const& other) const { return view() == other.view(); }
  auto operator<=>(String const& other) const { return view() <=> other.view(); }

  friend String operator+(String const& a, String const& b) { return a.str().append(b.view()); }
  friend String operator+(String const& a, char const* b) { return a.str().append(b); }
  friend String operator+(char const* a, String const& b) {
    return std::string(a).append(b.view());
  }
  friend std::ostream& operator<<(std::ostream& out, String const& s) { return out << s.view(); }

 private:
  std::shared_ptr<std::string const> _text;  // null: the empty text
};

// 32-bit FNV-1a, the hash of every text key.
constexpr std::uint32_t textHash(std::string_view text) {
  std::uint32_t hash = 2166136261u;
  for (char const c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619u;
  return hash;
}

class Name {
 public:
  Name() = default;
  Name(char const* text) : _text(text) {}
  Name(std::string const& text) : _text(text) {}
  explicit Name(String const& text) : _text(text) {}

  String const& stringValue() const { return _text; }
  std::string_view view() const { return _text.view(); }
  std::uint32_t hash() const { return textHash(view()); }

  bool operator==(Name const&) const = default;
  auto operator<=>(Name const& other) const { return view() <=> other.view(); }
  friend std::ostream& operator<<(std::ostream& out, Name const& n) { return out << n.view(); }

 private:
  String _text;
};

}  // namespace Kel
