// The order of virtual operations is part of the contract with platforms that
// derive from these classes.
#include <gtest/gtest.h>

#include "counters/copp/copp_type_sm.h"
#include "counters/counters_sm.h"
#include "counters/pollers/helper.h"
#include "tests/support/virtual_slot.h"

namespace {

using Support::slot;

TEST(SlotOrder, OfCountersSmIsThatOfTheContract) {
  using Sm = Oru::Counters::CountersSm;
  // Behind those of OruBaseSm: handleInitialized, initializedIs, kelDoZombieReactors.
  std::size_t const first = slot(&Oru::OruBaseSm::kelDoZombieReactors) + 1;
  std::size_t const slots[] = {
      slot(static_cast<void (Sm::*)(Pekt::IntfId)>(&Sm::handleIntf)),
      slot(&Sm::doClearCounters),
      slot(static_cast<void (Sm::*)(Pekt::IntfId)>(&Sm::handleCpuIntf)),
      slot(&Sm::reactOcsdDel),
      slot(&Sm::reactOcsdIs),
      slot(&Sm::ethIntfCounterWriterStatusIs),
      slot(&Sm::ethPhyIntfConfigDirDel),
      slot(&Sm::ethPhyIntfConfigDirIs),
      slot(&Sm::ethPhyIntfStatusDirDel),
      slot(&Sm::ethPhyIntfStatusDirIs),
      slot(&Sm::cliConfigDel),
      slot(&Sm::cliConfigIs),
      slot(&Sm::qosSliceHwStatusDel),
      slot(&Sm::qosSliceHwStatusIs),
      slot(&Sm::qosSliceHwStatusDirDel),
      slot(&Sm::qosSliceHwStatusDirIs),
      slot(&Sm::qosAclSliceHwStatusDel),
      slot(&Sm::qosAclSliceHwStatusIs),
      slot(&Sm::qosAclSliceHwStatusDirDel),
      slot(&Sm::qosAclSliceHwStatusDirIs),
      slot(&Sm::vlanIntfConfigDirDel),
      slot(&Sm::vlanIntfConfigDirIs),
      slot(&Sm::vlanIntfStatusDirDel),
      slot(&Sm::vlanIntfStatusDirIs),
  };
  for (std::size_t i = 0; i < std::size(slots); ++i) EXPECT_EQ(slots[i], first + i) << i;
}

// Zombie marking comes right after the destructors, of which there are two.
template <class Sm>
void expectZombieMarkingAfterTheDestructors() {
  EXPECT_EQ(slot(&Sm::fwkType), slot(&Kel::PtrInterface::fwkType));
  EXPECT_EQ(slot(&Sm::kelDoZombieReactors), slot(&Kel::PtrInterface::fwkType) + 3);
}

TEST(SlotOrder, OfPolicyMapsHasZombieMarkingAfterTheDestructors) {
  expectZombieMarkingAfterTheDestructors<Oru::Counters::CountersCoppSm>();
  expectZombieMarkingAfterTheDestructors<Oru::Counters::CountersDynamicCoppSm>();
  expectZombieMarkingAfterTheDestructors<Oru::Counters::CountersCoppTypeSm>();
  expectZombieMarkingAfterTheDestructors<Oru::Counters::CountersDynamicCoppTypeSm>();
}

TEST(SlotOrder, OfTheHelpersNotifieeBeginsBehindThatOfEveryNotifiee) {
  EXPECT_EQ(slot(&OruHelper::OruHelperCountersSm::NotifieeConst::onQueueCountersIncrement),
            slot(&Kel::PtrInterface::NotifieeConst::actsm) + 1);
}

TEST(SlotOrder, OfTheHelperIsThatOfTheContract) {
  using H = OruHelper::OruHelperCountersSm;
  std::size_t const first = slot(&Kel::PtrInterface::fwkType) + 3;
  std::size_t const slots[] = {slot(&H::hwInit),
                               slot(&H::initialize),
                               slot(&H::deinitialize),
                               slot(&H::initializeCpuPort),
                               slot(&H::getCoppCounters),
                               slot(&H::resetCpuQueueCounters),
                               slot(&H::firstSyncDelay),
                               slot(&H::getCounters),
                               slot(&H::getIntfQueueType),
                               slot(&H::getIntfQueueCounters),
                               slot(&H::getVlanIntfCounters),
                               slot(&H::initializeVlanIntfCounters),
                               slot(&H::deleteVlanIntfCounters),
                               slot(&H::doClearCounters),
                               slot(&H::aclDropCountersSupported),
                               slot(&H::getIntfAclDropCounters)};
  for (std::size_t i = 0; i < std::size(slots); ++i) EXPECT_EQ(slots[i], first + i) << i;
}

}  // namespace
