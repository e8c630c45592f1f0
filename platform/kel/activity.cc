#include "platform/kel/activity.h"

namespace Kel {
namespace {

Ptr<Clock>& theClock() {
  static Ptr<Clock> clock;
  return clock;
}

}  // namespace

Ptr<Clock> ActivityManagerConfig::clock() {
  if (!theClock()) theClock() = make<Clock>();
  return theClock();
}

void ActivityManagerConfig::clockIs(Ptr<Clock> const& clock) { theClock() = clock; }

}  // namespace Kel
