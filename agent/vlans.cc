#include "agent/vlans.h"

#include <exception>

#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"
#include "platform/kel/strep.h"

namespace Agent {

using Bridging::VlanId;
using Glim::Bridging::VlanCounter;

namespace {

// A script that adds VLANs one by one costs a poll of them all each time.
constexpr Kel::Seconds kBetweenPollsOfNews = 0.1;

}  // namespace

Vlans::Vlans(Tables const& tables, Kel::Ptr<Kel::Clock> const& clock, Kel::Seconds period)
    : _live(tables.vlanCounters()),
      _snapshots(tables.vlanCounterSnapshots()),
      _descriptions(tables.vlanDescriptions()),
      _period(period),
      _wheel(Kel::make<Wib::TimerWheel>(clock)) {}

bool Vlans::isConfigured(VlanId vlanId) const { return _config->vlanConfig().contains(vlanId); }

// The library finds its rows made: where there is no room, it is not told of the VLAN.
void Vlans::makeRows(Bridging::VlanDescription const& description) {
  VlanId const vlanId = description.vlanId;
  // A snapshot without a live row is of a VLAN that was there before.
  bool const isNew = !_live->contains(vlanId);
  if (isNew) Glim::writeOrGiveUp(*_live, VlanCounter(vlanId));
  if (isNew || !_snapshots->contains(vlanId)) Glim::writeOrGiveUp(*_snapshots, VlanCounter(vlanId));
  Glim::writeOrGiveUp(*_descriptions, description);
}

bool Vlans::vlanIs(Bridging::VlanDescription const& description) {
  VlanId const vlanId = description.vlanId;
  try {
    makeRows(description);
  } catch (Dov::ResourceException const& exception) {
    if (isConfigured(vlanId)) {
      _countedWithoutRoom.insert(vlanId);
    } else {
      dropRows(vlanId);
      _withoutRoom.insert_or_assign(vlanId, exception.message());
    }
    return false;
  }
  _withoutRoom.erase(vlanId);
  _countedWithoutRoom.erase(vlanId);
  if (isConfigured(vlanId)) return true;
  _config->vlanConfigIs({.vlanId = vlanId});
  _news = true;
  return true;
}

std::string Vlans::whyNoRoom() const {
  if (_withoutRoom.empty()) return {};
  auto const& [vlanId, why] = *_withoutRoom.begin();
  return "VLAN " + Kel::toStrep(vlanId) + ": " + why;
}

void Vlans::vlanDel(VlanId vlanId) {
  _withoutRoom.erase(vlanId);
  _countedWithoutRoom.erase(vlanId);
  _config->vlanConfigDel(vlanId);
  _requests->clearCountersRequestDel(vlanId);
  dropRows(vlanId);
}

void Vlans::dropRows(VlanId vlanId) {
  Glim::removeOrGiveUp(*_live, vlanId);
  Glim::removeOrGiveUp(*_snapshots, vlanId);
  Glim::removeOrGiveUp(*_descriptions, vlanId);
}

void Vlans::dropAllRows() {
  _live->forEach([this](auto const& row) { dropRows(row.vlanId); });
}

std::vector<VlanId> Vlans::withRows() const {
  std::vector<VlanId> all;
  _live->forEach([&](auto const& row) { all.push_back(row.vlanId); });
  return all;
}

// Of all three tables: what an agent before left may be in any of them.
void Vlans::dropRowsOfOthers() {
  auto const drop = [this](auto const& row) {
    if (!isConfigured(row.vlanId)) dropRows(row.vlanId);
  };
  _live->forEach(drop);
  _snapshots->forEach(drop);
  _descriptions->forEach(drop);
}

void Vlans::start(Kel::Ptr<OruHelper::OruVlanCountersHelper> const& helper) {
  dropRowsOfOthers();
  try {
    _counters =
        Oru::Counters::vlanCountersSmFactory(_config, _requests, _live, _snapshots, _wheel, helper);
  } catch (std::exception const& exception) {
    _sayWhyNotStarted(std::string("the VLANs cannot be counted, trying on: ") + exception.what());
    return;
  }
  _counters->pollIntervalIs(_period);
  // It set its first wake-up by the period that it begins with; one that comes now puts that of
  // ours in its place.
  tryToPoll([this] { _counters->handleTime(); });
  _news = _period == 0.0;  // such a wake-up does nothing
}

Kel::Seconds Vlans::pollNews() {
  if (!_counters || !_news) return Kel::Clock::kNever;
  Kel::Seconds const now = _wheel->time();
  Kel::Seconds const due = _newsPolled + kBetweenPollsOfNews;
  // A clock that was set back is no reason to wait.
  if (_newsPolled <= now && now < due) return due - now;
  _news = false;
  _newsPolled = now;
  tryToPoll([this] { poll(); });
  return Kel::Clock::kNever;
}

template <class Poll>
void Vlans::tryToPoll(Poll const& poll) {
  try {
    poll();
  } catch (std::exception const& exception) {
    say(std::string("the VLANs could not be polled: ") + exception.what());
  }
}

}  // namespace Agent
