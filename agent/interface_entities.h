// What the library is told of interfaces.
#pragma once

#include "platform/interface/intf_dirs.h"
#include "platform/interface/writer_status.h"
#include "platform/oru/common_sm_data.h"

namespace Agent {

struct InterfaceEntities {
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<Interface::AllEthPhyIntfConfigDir> configDir =
      Kel::make<Interface::AllEthPhyIntfConfigDir>();
  Kel::Ptr<Interface::AllEthPhyIntfStatusDir> statusDir =
      Kel::make<Interface::AllEthPhyIntfStatusDir>();
  Kel::Ptr<Interface::AclDropConfig> aclDropConfig = Kel::make<Interface::AclDropConfig>();
  Kel::Ptr<Interface::VlanIntfConfigDir> vlanConfigDir = Kel::make<Interface::VlanIntfConfigDir>();
  Kel::Ptr<Interface::VlanIntfStatusDir> vlanStatusDir = Kel::make<Interface::VlanIntfStatusDir>();
};

}  // namespace Agent
