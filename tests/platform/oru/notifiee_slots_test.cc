// The order of the callbacks is part of the contract of each notifier.
#include <gtest/gtest.h>

#include <vector>

#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/interface/intf_dirs.h"
#include "platform/interface/writer_status.h"
#include "platform/kel/clock.h"
#include "platform/kel/dir.h"
#include "platform/oru/common_sm_data.h"
#include "platform/oru/counters_cli_config.h"
#include "platform/oru/hw_cli_config.h"
#include "platform/qos/policy_map_status.h"
#include "platform/wib/timer_wheel.h"
#include "tests/support/virtual_slot.h"

namespace {

using Support::slot;

std::size_t const kFirst = slot(&Kel::PtrInterface::NotifieeConst::actsm) + 1;

void expectInOrder(std::vector<std::size_t> const& slots) {
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], kFirst + i) << i;
}

template <class N, class Key>
std::size_t keyed(void (N::*callback)(Key)) {
  return slot(callback);
}
template <class N>
std::size_t whole(void (N::*callback)()) {
  return slot(callback);
}

TEST(NotifieeSlots, OfClockAreInContractOrder) {
  expectInOrder({slot(&Kel::Clock::NotifieeConst::onTime)});
}

TEST(NotifieeSlots, OfTimerWheelAreInContractOrder) {
  using N = Wib::TimerWheel::NotifieeConst;
  expectInOrder({slot(&N::onTime), slot(&N::onSystemClock), slot(&N::onMaxTicks),
                 slot(&N::onProcessTimeLimit), slot(&N::onCurrentWheelIndexTime),
                 slot(&N::onSystemClockHandlerActive), slot(&N::onWheelIndex),
                 slot(&N::onBucketIndex), slot(&N::onNext), slot(&N::onPrev),
                 slot(&N::onSystemClockTakesOffsetTime), slot(&N::onInitialized)});
}

TEST(NotifieeSlots, OfOruCommonSmDataAreInContractOrder) {
  using N = Oru::OruCommonSmData::NotifieeConst;
  expectInOrder({slot(&N::onOperationalMode), slot(&N::onInitialized), keyed(&N::onIntf),
                 slot(&N::onIntfkelImmediate), whole(&N::onIntf), keyed(&N::onCpuIntf),
                 slot(&N::onCpuIntfkelImmediate), whole(&N::onCpuIntf), keyed(&N::onVlanIntf),
                 slot(&N::onVlanIntfkelImmediate), whole(&N::onVlanIntf),
                 slot(&N::onKeepIntfCounters)});
}

TEST(NotifieeSlots, OfHwCliConfigAreInContractOrder) {
  using N = Oru::HwCliConfig::NotifieeConst;
  expectInOrder({keyed(&N::onClearCountersRequest), slot(&N::onClearCountersRequestkelImmediate),
                 whole(&N::onClearCountersRequest)});
}

TEST(NotifieeSlots, OfCliConfigAreInContractOrder) {
  expectInOrder({slot(&Oru::Counters::CliConfig::NotifieeConst::onPeriodPoll)});
}

TEST(NotifieeSlots, OfIntfDirsAreInContractOrder) {
  using C = Interface::AllEthPhyIntfConfigDir::NotifieeConst;
  expectInOrder(
      {keyed(&C::onIntfConfig), slot(&C::onIntfConfigkelImmediate), whole(&C::onIntfConfig)});
  using S = Interface::VlanIntfStatusDir::NotifieeConst;
  expectInOrder(
      {keyed(&S::onIntfStatus), slot(&S::onIntfStatuskelImmediate), whole(&S::onIntfStatus)});
}

TEST(NotifieeSlots, OfIntfConfigAreInContractOrder) {
  expectInOrder({slot(&Interface::IntfConfig::NotifieeConst::onLoadInterval)});
}

TEST(NotifieeSlots, OfIntfStatusesAreInContractOrder) {
  using S = Interface::EthPhyIntfStatus::NotifieeConst;
  expectInOrder({slot(&S::onSpeed), slot(&S::onOperState)});
  expectInOrder({slot(&Interface::VlanIntfStatus::NotifieeConst::onOperState)});
}

TEST(NotifieeSlots, OfIntfFlagsAreInContractOrder) {
  using N = Interface::IntfFlags::NotifieeConst;
  expectInOrder({keyed(&N::onIntf), slot(&N::onIntfkelImmediate), whole(&N::onIntf)});
}

TEST(NotifieeSlots, OfBridgingConfigAreInContractOrder) {
  using N = Bridging::Config::NotifieeConst;
  expectInOrder(
      {keyed(&N::onVlanConfig), slot(&N::onVlanConfigkelImmediate), whole(&N::onVlanConfig)});
}

TEST(NotifieeSlots, OfVlanCountersCliReqAreInContractOrder) {
  using N = Bridging::VlanCountersCliReq::NotifieeConst;
  expectInOrder({keyed(&N::onClearCountersRequest), slot(&N::onClearCountersRequestkelImmediate),
                 whole(&N::onClearCountersRequest)});
}

TEST(NotifieeSlots, OfSliceHwStatusAreInContractOrder) {
  using N = Qos::SliceHwStatus::NotifieeConst;
  expectInOrder({keyed(&N::onPmapType), slot(&N::onPmapTypekelImmediate), whole(&N::onPmapType)});
}

TEST(NotifieeSlots, OfDirAreInContractOrder) {
  using N = Kel::Dir::NotifieeConst;
  expectInOrder({keyed(&N::onSubdir), slot(&N::onSubdirkelImmediate), whole(&N::onSubdir),
                 slot(&N::onMountImmediate), keyed(&N::onEntryState),
                 slot(&N::onEntryStatekelImmediate), whole(&N::onEntryState), keyed(&N::onEntry),
                 slot(&N::onEntrykelImmediate), whole(&N::onEntry), keyed(&N::onEntityPtr),
                 slot(&N::onEntityPtrkelImmediate), whole(&N::onEntityPtr), keyed(&N::onEntityRef),
                 slot(&N::onEntityRefkelImmediate), whole(&N::onEntityRef),
                 slot(&N::onMountFlags)});
}

TEST(NotifieeSlots, OfPolicyMapHwStatusAreInContractOrder) {
  using N = Qos::PolicyMapHwStatus::NotifieeConst;
  expectInOrder({slot(&N::onType), slot(&N::onPrgmStatus), slot(&N::onPrgmStatusErrMessage),
                 slot(&N::onVersion), keyed(&N::onCmap), slot(&N::onCmapkelImmediate),
                 whole(&N::onCmap)});
}

TEST(NotifieeSlots, OfPolicyMapTypeHwStatusAreInContractOrder) {
  using N = Qos::PolicyMapTypeHwStatus::NotifieeConst;
  expectInOrder({keyed(&N::onPmap), slot(&N::onPmapkelImmediate), whole(&N::onPmap)});
}

}  // namespace
