// The exceptions of the table library: a contract was broken, or a table cannot go on in the world
// as it is (CorruptionDetectedException, ResourceException, an unsafe place). What is met every day
// (a missing file, a row that is being written) is an answer, never one of these.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "platform/dov/debug_handler.h"

namespace Dov {

// Base of the family. msg() is the type's text and the message, as in
// `Dov::NoPermissionException("write to read-only Glim table")`; what() is the same text.
class Exception : public std::exception {
 public:
  std::string const& msg() const { return _msg; }
  std::string const& message() const { return _message; }
  char const* what() const noexcept override { return _msg.c_str(); }

 protected:
  Exception(std::string_view typeText, std::string_view message);

 private:
  std::string _message;
  std::string _msg;
};

// A shared file was found inconsistent with itself or with what its writer knows of it.
class CorruptionDetectedException : public Exception {
 public:
  explicit CorruptionDetectedException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// More was given than there is room for.
class InvalidSizeException : public Exception {
 public:
  explicit InvalidSizeException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// The caller may not do this: a write through a read-only view, a table that another writer owns,
// an unsafe file.
class NoPermissionException : public Exception {
 public:
  explicit NoPermissionException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// An order that this kind of table does not have.
class UnimplementedException : public Exception {
 public:
  explicit UnimplementedException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// The machine gave out: no memory for a table to grow into, a full table, a file operation that
// failed.
class ResourceException : public Exception {
 public:
  explicit ResourceException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// What cannot be answered, of a table that is no more: a direct write to a detached one.
class AssertException : public Exception {
 public:
  explicit AssertException(std::string_view message);
  [[noreturn]] static void throwException(std::string_view message);
};

// Writes `text` at level 0, then throws AssertException with it.
[[noreturn]] void debugAndThrowAssertException(Platform::DebugHandler& handler,
                                               std::string_view text, std::string_view source,
                                               std::string_view function);

}  // namespace Dov
