// Links that a test tells, the interfaces that they become, and what the chip hears of them.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "agent/link_sync.h"
#include "tests/agent/served_interfaces.h"

namespace Agent {

class RecordedPorts : public PortLinks {
 public:
  explicit RecordedPorts(Support::CallLog& log) : _log(log) {}
  void linkIs(Pekt::IntfId const& id, Link const& link) override {
    _log("port", id, "is link", link.ifindex);
  }
  void linkDel(Pekt::IntfId const& id) override { _log("port", id, "has no link"); }
  RowsOf rowsOf(Pekt::IntfId const&, Link const&) override { return rows; }
  bool reserve(Pekt::IntfId const& id, Link const&) override {
    if (room) reserved.insert(id);
    return room;
  }
  bool moveTo(Pekt::IntfId const& id, Link const& link) override {
    moved.push_back(std::string(id.view()) + " to " + std::to_string(link.ifindex));
    return movable;
  }
  void forget(Pekt::IntfId const& id) override {
    reserved.erase(id);
    forgotten.push_back(id);
  }

  RowsOf rows = RowsOf::thisLink;
  bool room = true;
  bool movable = true;
  std::vector<std::string> moved;
  std::set<Pekt::IntfId> reserved;
  std::vector<Pekt::IntfId> forgotten;

 private:
  Support::CallLog& _log;
};

class LinkSyncTest : public ServedInterfaces {
 protected:
  using Link = Hardware::Linux::Link;
  using LinkEvent = Hardware::Linux::LinkEvent;
  using OperState = Interface::OperState;

  explicit LinkSyncTest(LinkNames const& linkNames = {}) : names(linkNames) {}

  static Link link(int ifindex, std::string const& name) {
    Link link;
    link.ifindex = ifindex;
    link.name = name;
    link.alias = "to the core";
    link.adminUp = true;
    link.operState = OperState::up;
    link.speed = 10'000'000'000;
    link.txQueues = 64;
    return link;
  }
  void appear(Link const& link) { sut.handle({LinkEvent::Type::appeared, link, {}}); }
  void vanish(Link const& link) { sut.handle({LinkEvent::Type::vanished, link, {}}); }
  void rename(Link const& link, std::string const& oldName) {
    sut.handle({LinkEvent::Type::renamed, link, oldName});
  }
  void change(Link const& link) { sut.handle({LinkEvent::Type::changed, link, {}}); }
  bool served(Pekt::IntfId const& id) const { return entities.ocsd->intf(id); }
  std::size_t servedInAll() const { return entities.ocsd->intf().size(); }

  LinkNames const names;
  RecordedPorts ports{log};
  LinkSync sut{names, interfaces, ports};
};

}  // namespace Agent
