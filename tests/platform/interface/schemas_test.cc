#include "platform/interface/drop_counter.h"
#include "platform/interface/eth_intf_counter.h"
#include "platform/interface/intf_description.h"
#include "platform/interface/queue_counter.h"
#include "platform/interface/vlan_intf_counter.h"
#include "tests/support/published_schema.h"

namespace {

template <class Record>
class PublishedSchema : public testing::Test {};

using Records = testing::Types<Interface::EthIntfCounterGlim, Interface::VlanIntfCounterGlim,
                               Interface::QueueCounter::IntfQueueCounter,
                               Glim::Interface::DropCounter, Interface::IntfDescription>;
TYPED_TEST_SUITE(PublishedSchema, Records, Support::RecordNames);

TYPED_TEST(PublishedSchema, IsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<TypeParam>(ORU_SOURCE_DIR "/tests/platform/interface/schemas");
}

}  // namespace
