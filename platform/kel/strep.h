// Printable forms ("streps"): how reflection and error texts print and parse a
// value.
#pragma once

#include <charconv>
#include <concepts>
#include <sstream>
#include <string>
#include <string_view>

#include "platform/kel/exceptions.h"
#include "platform/kel/ptr_interface.h"
#include "platform/kel/text.h"

namespace Kel {

// The name of an object's type: its type node's or, without one, the language's.
std::string typeText(PtrInterface const& object);
// Type and address, as in "Oru::HwCliConfig@0x5581..."; "null" for none.
std::string valueToStrepOfRawPtr(PtrInterface const* object);

[[noreturn]] void throwUnreadable(std::string_view text);

// Numbers: a stream would take -1 for an unsigned one, and an 8-bit one for a character.
template <class T>
concept IsInteger = std::integral<T> && !std::same_as<T, bool>;
// A number whose printable form reads back as itself.
template <class T>
concept IsNumber = IsInteger<T> || std::floating_point<T>;

// The shortest text that reads back as this number.
std::string numberText(double value);

// Specialise for a type whose stream form is not its printable form.
template <class T>
struct Strep {
  static std::string to(T const& value) {
    if constexpr (std::is_enum_v<T>) {
      return std::to_string(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (IsInteger<T>) {
      return std::to_string(value);
    } else if constexpr (std::floating_point<T>) {
      return numberText(value);
    } else {
      std::ostringstream out;
      out << std::boolalpha << value;
      return out.str();
    }
  }
  // Throws RangeException where `text` is not wholly a T.
  static T from(std::string_view text) {
    if constexpr (std::constructible_from<T, std::string>) {
      return T(std::string(text));
    } else if constexpr (std::is_enum_v<T>) {
      return T{Strep<std::underlying_type_t<T>>::from(text)};
    } else if constexpr (IsNumber<T>) {
      T value{};
      char const* const end = text.data() + text.size();
      if (std::from_chars(text.data(), end, value) != std::from_chars_result{end, std::errc()})
        throwUnreadable(text);
      return value;
    } else {
      std::istringstream in{std::string(text)};
      T value{};
      if (!(in >> std::noskipws >> std::boolalpha >> value) ||
          in.peek() != std::istringstream::traits_type::eof())
        throwUnreadable(text);
      return value;
    }
  }
};

template <>
struct Strep<String> {
  static std::string to(String const& value) { return value.str(); }
  static String from(std::string_view text) { return String(text); }
};

template <class T>
struct Strep<Ptr<T>> {
  static std::string to(Ptr<T> const& p) { return valueToStrepOfRawPtr(p.get()); }
  static Ptr<T> from(std::string_view) {
    throw OpNotSupportedException("a pointer has no text form to read");
  }
};

template <class T>
std::string toStrep(T const& value) {
  return Strep<T>::to(value);
}
template <class T>
T fromStrep(std::string_view text) {
  return Strep<T>::from(text);
}

}  // namespace Kel
