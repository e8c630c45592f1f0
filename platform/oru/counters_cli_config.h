// Counter settings from the command line.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/kel/seconds.h"

namespace Oru::Counters {

class CliConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<CliConfig> {
   public:
    virtual void onPeriodPoll() {}
  };
  class Notifiee : public NotifieeConst {};

  // Poll period of the port counters, seconds; 0 stops polling.
  Kel::Seconds periodPoll() const { return _periodPoll; }
  // Throws Kel::RangeException for what is no period.
  void periodPollIs(Kel::Seconds period) {
    Kel::requirePeriod(period);
    assign(_periodPoll, period, &NotifieeConst::onPeriodPoll);
  }

 private:
  Kel::Seconds _periodPoll = 0.0;
};

}  // namespace Oru::Counters
