// The order of virtual operations and of callbacks is part of the contract with what derives from
// these classes.
#include "tests/support/virtual_slot.h"

#include <gtest/gtest.h>

#include <vector>

#include "tester/intf_queue_counter_test_wrapper.h"
#include "tester/intf_queue_counters_helper.h"

namespace {

using Support::slot;

template <class N>
std::size_t keyed(void (N::*callback)(Pekt::IntfId)) {
  return slot(callback);
}
template <class N>
std::size_t whole(void (N::*callback)()) {
  return slot(callback);
}

void expectInOrder(std::vector<std::size_t> const& slots) {
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[0] + i) << i;
}

TEST(SlotOrder, CallbacksOfIntfQueueCountersHelperAreInContractOrder) {
  using N = Oru::Counters::IntfQueueCountersHelper::NotifieeConst;
  expectInOrder({slot(&Kel::PtrInterface::NotifieeConst::actsm), slot(&N::onQueueCountersIncrement),
                 keyed(&N::onIntfExpectedCounters), slot(&N::onIntfExpectedCounterskelImmediate),
                 whole(&N::onIntfExpectedCounters), keyed(&N::onIntfIncCounters),
                 slot(&N::onIntfIncCounterskelImmediate), whole(&N::onIntfIncCounters),
                 slot(&N::onNumUnicastQueues), slot(&N::onNumMulticastQueues)});
}

TEST(SlotOrder, IntfQueueCounterTestWrapperHasThatOfItsBase) {
  using Sm = Oru::Counters::IntfQueueCounterTestWrapper;
  // Behind those of PtrInterface come its two destructors.
  expectInOrder({slot(&Kel::PtrInterface::fwkType) + 2, slot(&Sm::handleInitialized),
                 slot(&Sm::initializedIs), slot(&Sm::kelDoZombieReactors)});
}

}  // namespace
