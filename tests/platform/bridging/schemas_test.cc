#include "platform/bridging/vlan_counter.h"
#include "tests/support/published_schema.h"

namespace {

TEST(PublishedVlanSchema, IsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<Glim::Bridging::VlanCounter>(ORU_SOURCE_DIR
                                                              "/tests/platform/bridging/schemas");
}

}  // namespace
