#include "platform/glim/file_descriptor.h"

#include <unistd.h>

#include <system_error>

namespace Glim {

FileDescriptor::~FileDescriptor() {
  if (_fd >= 0) ::close(_fd);
}

std::string errorText(int error) { return std::generic_category().message(error); }

}  // namespace Glim
