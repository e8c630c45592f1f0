#include "platform/kelo/pod_array.h"

#include <iomanip>
#include <sstream>

#include "platform/dov/exception.h"

namespace Kelo {

std::string podArraySizeText(std::size_t capacity, std::size_t count, void const* buffer,
                             std::size_t size) {
  std::ostringstream text;
  text << "PodArray::set expected size <= " << capacity << ", instead got " << count
       << ". Buffer is at address: " << buffer << " with contents: " << std::hex
       << std::setfill('0');
  auto const* bytes = static_cast<unsigned char const*>(buffer);
  for (std::size_t i = 0; i < size; ++i) text << std::setw(2) << static_cast<unsigned>(bytes[i]);
  return text.str();
}

void throwPodArraySize(std::string const& text) { Dov::InvalidSizeException::throwException(text); }

}  // namespace Kelo
