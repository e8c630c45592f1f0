#include "platform/oru/base_sm.h"

#include "platform/oru/common_sm_data.h"

namespace Oru {

OruBaseSm::OruBaseSm(Kel::Ptr<OruCommonSmData> const& ocsd) : _ocsd(ocsd) {}
OruBaseSm::~OruBaseSm() = default;

void OruBaseSm::initializedIs(bool initialized) {
  if (initialized == _initialized) return;
  if (!initialized || _initializing) {
    _initialized = initialized;
    return;
  }
  Initializing const once(*this);
  _initialized = true;
  handleInitialized();
}

}  // namespace Oru
