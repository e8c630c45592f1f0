#include "platform/bridging/vlan_counter.h"
#include "platform/bridging/vlan_description.h"
#include "tests/support/published_schema.h"

namespace {

template <class Record>
class PublishedVlanSchema : public testing::Test {};

using Records = testing::Types<Glim::Bridging::VlanCounter, Bridging::VlanDescription>;
TYPED_TEST_SUITE(PublishedVlanSchema, Records, Support::RecordNames);

TYPED_TEST(PublishedVlanSchema, IsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<TypeParam>(ORU_SOURCE_DIR "/tests/platform/bridging/schemas");
}

}  // namespace
