#include "platform/qos/copp_class_name.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/kel/exceptions.h"
#include "platform/pekt/word_hash.h"

namespace Qos {

bool CoppClassName::isName(std::string_view text) {
  return text.size() <= kMaxLength && text.find('\0') == std::string_view::npos;
}

CoppClassName::CoppClassName(std::string_view text) {
  if (!isName(text))
    Kel::throwRangeException("the name of a policing class has at most " +
                             std::to_string(kMaxLength) + " bytes and no NUL: \"" +
                             std::string(text) + '"');
  std::copy(text.begin(), text.end(), _text.begin());
}

std::string_view CoppClassName::view() const {
  // A name read from a damaged table may lack its end.
  return {_text.data(), strnlen(_text.data(), _text.size())};
}

std::uint32_t CoppClassName::hash() const {
  return Pekt::wordHash(std::bit_cast<std::array<std::uint64_t, sizeof(CoppClassName) / 8>>(*this));
}

}  // namespace Qos
