// The interfaces that the agent serves, as the library sees them (entities) and as readers do (the
// table of descriptions). Whoever knows a chip's ports says here which there are.
#pragma once

#include <set>
#include <vector>

#include "agent/tables.h"
#include "platform/interface/intf_dirs.h"
#include "platform/interface/writer_status.h"
#include "platform/oru/common_sm_data.h"

namespace Agent {

// What the library is told of interfaces.
struct InterfaceEntities {
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<Interface::AllEthPhyIntfConfigDir> configDir =
      Kel::make<Interface::AllEthPhyIntfConfigDir>();
  Kel::Ptr<Interface::AllEthPhyIntfStatusDir> statusDir =
      Kel::make<Interface::AllEthPhyIntfStatusDir>();
  Kel::Ptr<Interface::AclDropConfig> aclDropConfig = Kel::make<Interface::AclDropConfig>();
};

class Interfaces {
 public:
  // The tables must outlive it.
  Interfaces(InterfaceEntities const& entities, Tables const& tables);

  // The interface is there, and is so. `lastChange` is kept here: the time at which its state of
  // operation was last seen to change, by this agent or the one before. Answers false when there is
  // no room left in the tables; it is then not served, which the operator is told once.
  //
  // A new interface's status and configuration come first and its entry in ocsd.intf last, so that
  // it is made whole by one notification; the status is the very first, since rows that were kept
  // are those of interfaces with a status.
  bool interfaceIs(Interface::IntfDescription description);

  // The interface is gone. Its entry in ocsd.intf goes first, so that its pollers and rows are gone
  // before what they were made from. With ocsd.keepIntfCounters the rows and the status stay, and
  // its state of operation is notPresent.
  void interfaceDel(Pekt::IntfId const& intfId);

  // Its chip says which counters it cannot count.
  void unsupportedIs(Pekt::IntfId const& intfId, Interface::CounterSet unsupported);

  // Removes the rows that an agent before left of interfaces that are not there any more; with
  // ocsd.keepIntfCounters they stay, and are shown as not present.
  // REQUIRES: every interface that is there was told; the library is not initialized yet.
  void removeLeftovers();

  // The interfaces of which there was news since it was last asked.
  std::vector<Pekt::IntfId> takeNews();

 private:
  Kel::Ptr<Interface::EthPhyIntfStatus> statusOf(Pekt::IntfId const& intfId);
  void describe(Interface::IntfDescription const& description);
  void notPresent(Pekt::IntfId const& intfId);

  InterfaceEntities const _entities;
  Tables const& _tables;
  std::set<Pekt::IntfId> _news;
  std::set<Pekt::IntfId> _withoutRoom;
};

}  // namespace Agent
