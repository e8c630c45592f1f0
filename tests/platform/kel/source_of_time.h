// A fixture of what the clock and the timer wheel promise alike.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "platform/kel/clock.h"
#include "platform/wib/timer_wheel.h"
#include "tests/platform/kel/alarm.h"

namespace KelTest {

template <class Source>
class SourceOfTime : public testing::Test {
 protected:
  using Alarm = KelTest::Alarm<Source>;
  Kel::Ptr<Alarm> alarm(std::string const& name, Kel::Seconds when = 0.0) {
    return Alarm::armed(sut, journal, name, when);
  }

  Kel::Ptr<Journal> journal = Kel::make<Journal>();
  Kel::Ptr<Source> sut = Kel::make<Source>();
};

using Sources = testing::Types<Kel::Clock, Wib::TimerWheel>;
class SourceNames {
 public:
  template <class Source>
  static std::string GetName(int) {
    return std::is_same_v<Source, Kel::Clock> ? "Clock" : "TimerWheel";
  }
};

}  // namespace KelTest
