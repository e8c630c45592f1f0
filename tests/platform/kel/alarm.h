// A reactor on a source of time that writes when it is called.
#pragma once

#include <string>
#include <utility>

#include "tests/platform/kel/machines.h"

namespace KelTest {

template <class Source>
class Alarm : public Source::NotifieeConst {
 public:
  Alarm(Kel::Ptr<Source const> const& source, Kel::Ptr<Journal> journal, std::string name)
      : _journal(std::move(journal)), _name(std::move(name)) {
    this->notifierIs(source);
    this->isRegisteredNotifieeIs(true);
    this->hasNotificationActiveIs(true);
  }
  static Kel::Ptr<Alarm> armed(Kel::Ptr<Source const> const& source,
                               Kel::Ptr<Journal> const& journal, std::string const& name,
                               Kel::Seconds when) {
    auto const made = Kel::make<Alarm>(source, journal, name);
    if (when != 0.0) made->timeMinIs(when);
    return made;
  }
  void onTime() override { (*_journal)(_name); }

 private:
  Kel::Ptr<Journal> _journal;
  std::string _name;
};

}  // namespace KelTest
