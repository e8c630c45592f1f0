// The control plane's policing as the library sees it: the CPU port, and the status of the policy
// map that its classes are in.
#pragma once

#include <string_view>

#include "agent/chip.h"
#include "counters/copp/copp_sm.h"
#include "counters/counters_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/qos/policy_map_status.h"

namespace Agent {

inline constexpr std::string_view kCpuPort = "Cpu";
inline constexpr std::string_view kCoppPolicyMap = "copp-system-policy";

// There is one policy map, for input, while the chip has a CPU port. When it appears, the library
// is given its state machine (if the policy map is the one that the library's coppPMapName names),
// which is told of a class when that comes, and then resets it. Classes that are there when the
// policy map appears are not told, and so not reset: an agent that starts changes nothing.
class ControlPlane {
 public:
  explicit ControlPlane(Kel::Ptr<Oru::OruCommonSmData> const& ocsd);

  // The library's inputs. There are no dynamic policy maps.
  Kel::Ptr<Qos::SliceHwStatus> const& sliceStatus() const { return _slice; }
  Kel::Ptr<Kel::Dir> const& sliceStatusDir() const { return _sliceDir; }
  Kel::Ptr<Qos::AclSliceHwStatus> const& aclSliceStatus() const { return _aclSlice; }
  Kel::Ptr<Kel::Dir> const& aclSliceStatusDir() const { return _aclSliceDir; }

  // The library, once it was made with these inputs. Before it nothing else may be told.
  void countersIs(Kel::Ptr<Oru::Counters::CountersSm> const& counters);

  // Null: there is no CPU port.
  void classesAre(CoppClassNames const* classes);

 private:
  using TypeSm = Oru::Counters::CountersCoppTypeSm;

  void appear(CoppClassNames const& classes);
  void change(CoppClassNames const& classes);
  void vanish();
  void watch();
  void unwatch();

  Kel::Ptr<Oru::OruCommonSmData> const _ocsd;
  Kel::Ptr<Qos::SliceHwStatus> const _slice;
  Kel::Ptr<Kel::Dir> const _sliceDir;
  Kel::Ptr<Qos::AclSliceHwStatus> const _aclSlice;
  Kel::Ptr<Kel::Dir> const _aclSliceDir;
  Kel::Ptr<Qos::PolicyMapTypeHwStatus> const _type;
  Kel::Ptr<Qos::PolicyMapHwStatus> _policyMap;      // while there is one
  Kel::Ptr<Oru::Counters::CountersCoppSm> _coppSm;  // of it, as it was made here
  Kel::Ptr<Oru::Counters::CountersSm> _counters;
};

}  // namespace Agent
