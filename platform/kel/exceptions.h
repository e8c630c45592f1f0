// The exceptions of the framework: a contract was broken by the caller.
#pragma once

#include <stdexcept>
#include <string>

namespace Kel {

// A value that is not allowed where it was given; "null ValidPtr" for a pointer.
struct RangeException : std::range_error {
  using std::range_error::range_error;
};

// A name is taken by something other than what was asked for.
struct NameInUseException : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The attribute is unknown, or does not offer this operation.
struct OpNotSupportedException : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void throwRangeException(std::string const& text);
[[noreturn]] void throwNameInUseException(std::string const& text);

}  // namespace Kel
