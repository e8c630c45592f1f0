// Base of the helpers through which a chip platform serves the agent.
#pragma once

#include "platform/kel/dir.h"

namespace Oru {

class OruBaseHelper : public Kel::Entity {
 protected:
  using Entity::Entity;
};

}  // namespace Oru
