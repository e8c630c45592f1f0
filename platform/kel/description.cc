#include "platform/kel/description.h"

#include "platform/kel/exceptions.h"

namespace Kel {

void throwReinstantiation(std::string_view parameter, std::string const& wanted,
                          std::string const& current) {
  throwNameInUseException(
      "Reinstantiating the pointer interface where constructor parameter attribute _" +
      std::string(parameter) + " has a different value of " + wanted +
      " than the current value of " + current + " not allowed");
}

}  // namespace Kel
