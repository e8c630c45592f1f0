#include "platform/bridging/vlan_counter.h"
#include "tests/support/published_schema.h"

namespace {

TEST(PublishedVlanSchema, IsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<Glim::Bridging::VlanCounter>("tests/platform/bridging/schemas");
}

}  // namespace
