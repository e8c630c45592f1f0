// Interfaces with their entities and tables, and a record of what the library would be told.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "agent/interfaces.h"
#include "tests/support/call_log.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {

// Records "intf Ethernet1 true", "config Ethernet1", "status Ethernet1 gone" ...
class EntityRecorder {
 public:
  EntityRecorder(InterfaceEntities const& entities, Support::CallLog& log)
      : _ocsd(Kel::make<Ocsd>(log)),
        _config(Kel::make<Config>(log)),
        _status(Kel::make<Status>(log)),
        _vlanConfig(Kel::make<VlanConfig>(log)),
        _vlanStatus(Kel::make<VlanStatus>(log)) {
    watch(*_ocsd, entities.ocsd);
    watch(*_config, entities.configDir);
    watch(*_status, entities.statusDir);
    watch(*_vlanConfig, entities.vlanConfigDir);
    watch(*_vlanStatus, entities.vlanStatusDir);
  }

 private:
  template <class Reactor, class Entity>
  static void watch(Reactor& reactor, Entity const& entity) {
    reactor.notifierIs(entity);
    reactor.isRegisteredNotifieeIs(true);
    reactor.hasNotificationActiveIs(true);
  }
  struct Ocsd : Oru::OruCommonSmData::Notifiee {
    explicit Ocsd(Support::CallLog& l) : log(l) {}
    using Notifiee::onIntf;
    using Notifiee::onVlanIntf;
    void onIntf(Pekt::IntfId id) override { tell("intf", notifier()->intf(), id); }
    void onVlanIntf(Pekt::IntfId id) override { tell("vlan", notifier()->vlanIntf(), id); }
    void tell(char const* kind, Oru::OruCommonSmData::IntfMap const& all, Pekt::IntfId const& id) {
      auto const at = all.find(id);
      log(kind, id, at == all.end() ? "gone" : at->second ? "served" : "not served");
    }
    Support::CallLog& log;
  };
  struct Config : Interface::AllEthPhyIntfConfigDir::Notifiee {
    explicit Config(Support::CallLog& l) : log(l) {}
    using Notifiee::onIntfConfig;
    void onIntfConfig(Pekt::IntfId id) override {
      log("config", id, notifier()->intfConfig(id) ? "there" : "gone");
    }
    Support::CallLog& log;
  };
  struct Status : Interface::AllEthPhyIntfStatusDir::Notifiee {
    explicit Status(Support::CallLog& l) : log(l) {}
    using Notifiee::onIntfStatus;
    void onIntfStatus(Pekt::IntfId id) override {
      log("status", id, notifier()->intfStatus(id) ? "there" : "gone");
    }
    Support::CallLog& log;
  };

  struct VlanConfig : Interface::VlanIntfConfigDir::Notifiee {
    explicit VlanConfig(Support::CallLog& l) : log(l) {}
    using Notifiee::onIntfConfig;
    void onIntfConfig(Pekt::IntfId id) override {
      log("vlan config", id, notifier()->intfConfig(id) ? "there" : "gone");
    }
    Support::CallLog& log;
  };
  struct VlanStatus : Interface::VlanIntfStatusDir::Notifiee {
    explicit VlanStatus(Support::CallLog& l) : log(l) {}
    using Notifiee::onIntfStatus;
    void onIntfStatus(Pekt::IntfId id) override {
      log("vlan status", id, notifier()->intfStatus(id) ? "there" : "gone");
    }
    Support::CallLog& log;
  };

  Kel::Ptr<Ocsd> _ocsd;
  Kel::Ptr<Config> _config;
  Kel::Ptr<Status> _status;
  Kel::Ptr<VlanConfig> _vlanConfig;
  Kel::Ptr<VlanStatus> _vlanStatus;
};

class ServedInterfaces : public ::testing::Test {
 protected:
  static Interface::IntfDescription description(
      Pekt::IntfId const& id, Interface::OperState state = Interface::OperState::up) {
    Interface::IntfDescription description;
    description.intfId = id;
    description.kernelName = std::string_view("eth7");
    description.ifIndex = 7;
    description.speed = 1'000'000'000;
    description.adminState = Interface::AdminState::up;
    description.operState = state;
    return description;
  }
  Interface::IntfDescription described(Pekt::IntfId const& id) {
    return tables.intfDescriptions()->lookup(id);
  }
  bool isDescribed(Pekt::IntfId const& id) { return tables.intfDescriptions()->contains(id); }
  // A row of an agent before, or of the library.
  void addRow(Pekt::IntfId const& id) {
    Interface::EthIntfCounterGlim row;
    row.intfId = id;
    tables.intfCounters()->counterIs(row);
    tables.intfClearCounters()->counterIs(row);
  }

  // Those of its queues and its drops.
  void addRowsOfLibrary(Pekt::IntfId const& id) {
    Interface::QueueCounter::IntfQueueCounter row;
    row.intfId = id;
    row.statistics.sizeIs(4);
    tables.intfQueueCounters()->intfQueueCounterIs(row);
    tables.intfClearQueueCounters()->intfQueueCounterIs(row);
    tables.aclDropCounters()->counterIs({id, 7});
  }
  // How many of the three there are.
  int rowsOfLibrary(Pekt::IntfId const& id) {
    return (tables.intfQueueCounters()->contains(id) ? 1 : 0) +
           (tables.intfClearQueueCounters()->contains(id) ? 1 : 0) +
           (tables.aclDropCounters()->contains(id) ? 1 : 0);
  }

  // Takes what room there is in a table.
  template <class Table>
  void fill(Table const& table, std::uint32_t leaving = 0) {
    typename std::remove_cvref_t<decltype(*table)>::Record row;
    for (std::uint32_t i = 0; table->members() + leaving < kRoom; ++i) {
      row.intfId = Pekt::IntfId("Ethernet" + std::to_string(1000 + i));
      table->write(row);
    }
  }

  static constexpr std::uint32_t kRoom = 16;
  Support::VirtualTime time;
  Support::TemporaryTables place;
  Support::CallLog log;
  InterfaceEntities entities;
  // The smallest that there is: it holds 16 interfaces.
  Tables tables{place.directory().string(), {.maxRows = kRoom}};
  Interfaces interfaces{entities, tables};
  EntityRecorder recorder{entities, log};
};

}  // namespace Agent
