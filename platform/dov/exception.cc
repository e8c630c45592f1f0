#include "platform/dov/exception.h"

namespace Dov {

Exception::Exception(std::string_view typeText, std::string_view message)
    : _message(message), _msg(typeText) {
  _msg.append("(\"").append(message).append("\")");
}

CorruptionDetectedException::CorruptionDetectedException(std::string_view message)
    : Exception("Dov::CorruptionDetectedException", message) {}
void CorruptionDetectedException::throwException(std::string_view message) {
  throw CorruptionDetectedException(message);
}

InvalidSizeException::InvalidSizeException(std::string_view message)
    : Exception("Dov::InvalidSizeException", message) {}
void InvalidSizeException::throwException(std::string_view message) {
  throw InvalidSizeException(message);
}

NoPermissionException::NoPermissionException(std::string_view message)
    : Exception("Dov::NoPermissionException", message) {}
void NoPermissionException::throwException(std::string_view message) {
  throw NoPermissionException(message);
}

UnimplementedException::UnimplementedException(std::string_view message)
    : Exception("Dov::UnimplementedException", message) {}
void UnimplementedException::throwException(std::string_view message) {
  throw UnimplementedException(message);
}

ResourceException::ResourceException(std::string_view message)
    : Exception("Dov::ResourceException", message) {}
void ResourceException::throwException(std::string_view message) {
  throw ResourceException(message);
}

AssertException::AssertException(std::string_view message)
    : Exception("Dov::AssertException", message) {}
void AssertException::throwException(std::string_view message) { throw AssertException(message); }

void debugAndThrowAssertException(Platform::DebugHandler& handler, std::string_view text,
                                  std::string_view source, std::string_view function) {
  handler.write(0, source, function, text);
  AssertException::throwException(text);
}

}  // namespace Dov
