#include "platform/pekt/text_key.h"

#include "platform/kel/exceptions.h"

namespace Pekt {

void throwNoName(std::string_view what, std::size_t most, std::string_view text) {
  Kel::throwRangeException(std::string(what) + " has at most " + std::to_string(most) +
                           " bytes and no NUL: \"" + std::string(text) + '"');
}

}  // namespace Pekt
