// A watched entity, a state machine with a reactor on each kind of input, and a journal of what
// happened to them, in order.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/kel/clock.h"
#include "platform/kel/hash_map.h"
#include "platform/kel/notifier.h"
#include "platform/kel/state_machine.h"
#include "platform/kel/text.h"

namespace KelTest {

using Lines = std::vector<std::string>;

// What happened. A line may have a hook, which is run once it is written: so a test puts words into
// the middle of a handler.
class Journal : public Kel::PtrInterface {
 public:
  void operator()(std::string const& line) {
    _lines.push_back(line);
    if (auto const hook = _hooks.find(line); hook != _hooks.end()) {
      auto const run = hook->second;  // it may replace itself
      run();
    }
  }
  void on(std::string const& line, std::function<void()> hook) { _hooks[line] = std::move(hook); }

  Lines const& lines() const { return _lines; }
  Lines taken() { return std::exchange(_lines, {}); }

 private:
  Lines _lines;
  std::map<std::string, std::function<void()>> _hooks;
};

// Writes its own end.
class Tombstone : public Kel::PtrInterface {
 public:
  Tombstone(Kel::Ptr<Journal> journal, std::string text)
      : _journal(std::move(journal)), _text(std::move(text)) {}
  ~Tombstone() override { (*_journal)(_text); }

 private:
  Kel::Ptr<Journal> _journal;
  std::string _text;
};

// An entity with a scalar and a keyed collection.
class Config : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<Config> {
   public:
    virtual void onMode() {}
    virtual void onPort(Kel::Name) {}
    virtual void onPortkelImmediate() {}
    virtual void onPort() {}
  };
  class Notifiee : public NotifieeConst {};
  using Ports = Kel::RbTreeMap<int, Kel::Name>;

  int mode() const { return _mode; }
  void modeIs(int mode) { assign(_mode, mode, &NotifieeConst::onMode); }
  Ports const& port() const { return _port; }
  void portIs(Kel::Name const& name, int value) {
    insert(_port, name, value, &NotifieeConst::onPort);
  }
  void portDel(Kel::Name const& name) { erase(_port, name, &NotifieeConst::onPort); }
  void portDelAll() { eraseAll(_port, &NotifieeConst::onPortkelImmediate, &NotifieeConst::onPort); }
  std::size_t notifiees() const { return notifieeList()->size(); }

 private:
  int _mode = 0;
  Ports _port;
};

// A state machine that is owned: nothing but a name and a flag.
class Child : public Kel::StateMachine<Child, Kel::ReactorOwner> {
 public:
  Child(Kel::Ptr<Journal> const& journal, Kel::Name const& name) : _journal(journal), _name(name) {}
  ~Child() override { note("~child"); }

  void hasNotificationActiveIs(bool active) override {
    note(active ? "active child" : "inactive child");
    StateMachine::hasNotificationActiveIs(active);
  }
  void kelDoZombieReactors(bool zombie) override {
    if (zombie != kelMarkedForDeletion()) note(zombie ? "zombie child" : "revived child");
    StateMachine::kelDoZombieReactors(zombie);
  }

  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::Child", Kel::parameter("journal", &Child::_journal),
                         Kel::key("name", &Child::_name));
  }
  static Kel::TypeNode const _kelType;

 private:
  void note(std::string const& what) const { (*_journal)(what + ' ' + std::string(_name.view())); }

  Kel::Ptr<Journal> _journal;
  Kel::Name _name;
};

// Watches a clock given to its constructor and a Config attached later.
class Station : public Kel::StateMachine<Station, Kel::ReactorOwner> {
 public:
  class KelClock;
  class KelConfig;
  using Children = Kel::HashMap<Child, Kel::Name>;

  Station(Kel::Ptr<Journal> const& journal, Kel::Name const& name, double period,
          Kel::Ptr<Kel::Clock const> const& clock);
  ~Station() override;
  static Kel::Ptr<Station> StationIs(Kel::Ptr<Journal> const& journal, Kel::Name const& name,
                                     double period, Kel::Ptr<Kel::Clock const> const& clock) {
    return Kel::instance<Station>(journal, name, period, clock);
  }

  Kel::Ptr<Journal> const& journal() const { return _journal; }
  double period() const { return _period; }
  void limitIs(int limit) { _limit = limit; }
  int limit() const { return _limit; }

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock) { _clock.notifierIs(*this, clock); }
  Kel::Ptr<Kel::Clock const> clockDel() { return _clock.notifierDel(*this); }
  Kel::Ptr<Config const> config() const { return _config.notifier(); }
  void configIs(Kel::Ptr<Config const> const& config) { _config.notifierIs(*this, config); }
  Kel::Ptr<Config const> configDel() { return _config.notifierDel(*this); }

  // The reactors; the range error "null ValidPtr" where nothing is watched.
  KelClock& clockReactor() const { return *_clock; }
  KelConfig& configReactor() const { return *_config; }

  Kel::Ptr<Child> childIs(Kel::Name const& name) { return _child.newMember(name, _journal, name); }
  Kel::Ptr<Child> child(Kel::Name const& name) const { return _child.member(name); }
  void childDel(Kel::Name const& name) { _child.deleteMember(name); }
  Kel::Ptr<Child> otherIs(Kel::Name const& name) { return _other.newMember(name, _journal, name); }

  void handleTime() { note("handleTime"); }
  void handleMode() { note("handleMode"); }
  void handlePort() { note("handlePort"); }
  void handlePort(Kel::Name name) { note("handlePort " + std::string(name.view())); }
  void handlePair(int a, double b);

  static constexpr auto kelDescription() {
    using Sm = Station;
    return Kel::describe(
        "KelTest::Station", Kel::parameter("journal", &Sm::_journal), Kel::key("name", &Sm::_name),
        Kel::parameter("period", &Sm::_period), Kel::watchedParameter("clock", &Sm::_clock),
        Kel::watched("config", &Sm::_config), Kel::value("limit", &Sm::limit, &Sm::limitIs),
        Kel::value("label", &Sm::_label), Kel::collection("child", &Sm::_child),
        Kel::collection("other", &Sm::_other), Kel::operation("handleTime", &Sm::handleTime),
        Kel::operation("handlePort", static_cast<void (Sm::*)()>(&Sm::handlePort)),
        Kel::operation<Kel::Name>("handlePort", &Sm::handlePort),
        Kel::operation("handlePair", &Sm::handlePair));
  }
  static Kel::TypeNode const _kelType;

 private:
  void note(std::string const& line) const { (*_journal)(line); }

  Kel::Ptr<Journal> _journal;
  Kel::Name _name;
  double _period;
  int _limit = 0;
  Kel::String _label = "fixed";
  Kel::Ptr<Tombstone> _first;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Kel::Input<KelConfig, Config const> _config;
  Children _child;
  Children _other;
  Kel::Ptr<Tombstone> _last;
};

class Station::KelClock final : public Kel::Reactor<Station, Kel::Clock const> {
 public:
  KelClock(Station& owner, Kel::Ptr<Kel::Clock const> const& clock)
      : Reactor(owner, clock), _journal(owner.journal()) {}
  ~KelClock() override { (*_journal)("~clock reactor"); }

  void onTime() override { tell(&Station::handleTime); }
  void resync() override { onTime(); }

  void hasNotificationActiveIs(bool active) override {
    (*_journal)(active ? "active clock reactor" : "inactive clock reactor");
    Reactor::hasNotificationActiveIs(active);
  }
  void kelDoZombieReactors(bool zombie) override {
    if (zombie != kelMarkedForDeletion())
      (*_journal)(zombie ? "zombie clock reactor" : "revived clock reactor");
    Reactor::kelDoZombieReactors(zombie);
  }
  bool hasOwner() const { return baseOwner() != nullptr; }

 private:
  Kel::Ptr<Journal> _journal;
};

class Station::KelConfig final : public Kel::Reactor<Station, Config const> {
 public:
  KelConfig(Station& owner, Kel::Ptr<Config const> const& config)
      : Reactor(owner, config), _journal(owner.journal()) {}
  ~KelConfig() override { (*_journal)("~config reactor"); }

  using NotifieeConst::onPort;
  void onMode() override { tell(&Station::handleMode); }
  void onPort(Kel::Name name) override { tell(&Station::handlePort, name); }
  void onPortkelImmediate() override { tell(&Station::handlePort); }
  void resync() override {
    onMode();
    onPortkelImmediate();
  }

  void hasNotificationActiveIs(bool active) override {
    (*_journal)(active ? "active config reactor" : "inactive config reactor");
    Reactor::hasNotificationActiveIs(active);
  }
  void kelDoZombieReactors(bool zombie) override {
    if (zombie != kelMarkedForDeletion())
      (*_journal)(zombie ? "zombie config reactor" : "revived config reactor");
    Reactor::kelDoZombieReactors(zombie);
  }
  bool hasOwner() const { return baseOwner() != nullptr; }

 private:
  Kel::Ptr<Journal> _journal;
};

}  // namespace KelTest
