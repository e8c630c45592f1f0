#include "platform/kel/exceptions.h"

namespace Kel {

void throwRangeException(std::string const& text) { throw RangeException(text); }
void throwNameInUseException(std::string const& text) { throw NameInUseException(text); }

}  // namespace Kel
