#include <gmock/gmock.h>

#include <sstream>

#include "reader/options.h"
#include "reader/plain_top.h"
#include "reader/top_page.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Interface::OperState;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> names(Snapshot const& snapshot) {
  std::vector<std::string> all;
  for (Intf const& intf : snapshot.interfaces) all.emplace_back(intf.intfId.view());
  return all;
}

// Times of day are local; the tests' is UTC.
class LiveTable : public testing::Test {
 protected:
  LiveTable() {
    ::setenv("TZ", "UTC", 1);
    giveRates(snapshot.interfaces[0], 2e6, 1e9, 1000.0);
    giveRates(snapshot.interfaces[1], 0.0, 0.0, 0.0);
    giveRates(snapshot.interfaces[2], 1.25e9, 5e6, 84200.0);
    snapshot.interfaces[0].description->speed = 1'000'000'000;
    snapshot.interfaces[2].description->speed = 10'000'000'000;
    snapshot.interfaces[0].counters->statistics.inOctets = 9'000'000;
    snapshot.interfaces[1].counters->statistics.inErrors = 4;
  }
  static std::string text(std::vector<Line> const& lines) { return plain(lines); }

  Snapshot snapshot =
      Show::snapshot({intf("Ethernet1", "eth0"), intf("Ethernet2", "wan0", OperState::down),
                      intf("Ethernet10", "dummy0"), intf("Ethernet11", "fresh0")});
};

TEST_F(LiveTable, SortsByNameUnlessTold) {
  sort(snapshot, {});
  EXPECT_THAT(names(snapshot), ElementsAre("Ethernet1", "Ethernet2", "Ethernet10", "Ethernet11"));
}

TEST_F(LiveTable, SortsTheLargestFirstAndTheUnknownLast) {
  sort(snapshot, {.sort = SortKey::in});
  EXPECT_THAT(names(snapshot), ElementsAre("Ethernet10", "Ethernet1", "Ethernet2", "Ethernet11"));
}

TEST_F(LiveTable, SortsByErrorsAndKeepsTheOrderOfNamesAmongEquals) {
  sort(snapshot, {.sort = SortKey::errors});
  EXPECT_THAT(names(snapshot), ElementsAre("Ethernet2", "Ethernet1", "Ethernet10", "Ethernet11"));
}

TEST_F(LiveTable, SortsTotalsByOctets) {
  sort(snapshot, {.sort = SortKey::in, .totals = true});
  EXPECT_THAT(names(snapshot), ElementsAre("Ethernet1", "Ethernet2", "Ethernet10", "Ethernet11"));
}

TEST_F(LiveTable, SortsRatesThatAreNoNumbersLast) {
  giveRates(snapshot.interfaces[0], std::numeric_limits<double>::quiet_NaN(), 1.0, 1.0);
  sort(snapshot, {.sort = SortKey::in});
  EXPECT_THAT(names(snapshot), ElementsAre("Ethernet10", "Ethernet2", "Ethernet1", "Ethernet11"));
}

TEST_F(LiveTable, APageShowsRates) {
  TopPage sut({});
  sut.show(snapshot, {});
  EXPECT_EQ("\n" + text(sut.lines(132, 9)), R"(
oru-counters  1970-01-12 13:46:40  4 interfaces, 3 up
Agent running, process 4711, heartbeat 0.4 s ago; rates averaged over the load interval
Interface   Device  State      Speed         In   In use  In packets        Out  Out use  Out packets  Discards  Errors    Age
Ethernet1   eth0    up     1.00 Gb/s  2.00 Mb/s    0.2 %   1.00 kp/s  1.00 Gb/s  100.0 %    1.00 kp/s         0       0  0.4 s
Ethernet2   wan0    down         n/a      0 b/s      n/a       0 p/s      0 b/s      n/a        0 p/s         0       4  0.4 s
Ethernet10  dummy0  up     10.0 Gb/s  1.25 Gb/s   12.5 %   84.2 kp/s  5.00 Mb/s    0.1 %    84.2 kp/s         0       0  0.4 s
Ethernet11  fresh0  up           n/a        n/a      n/a         n/a        n/a      n/a          n/a         0       0  0.4 s

q quit  s sort: name  r totals  c since clear
)");
}

TEST_F(LiveTable, APageShowsTotalsAfterTheKey) {
  TopPage sut({});
  sut.show(snapshot, {});
  sut.press(Key::rates);
  EXPECT_EQ("\n" + text(sut.lines(132, 9)), R"(
oru-counters  1970-01-12 13:46:40  4 interfaces, 3 up
Agent running, process 4711, heartbeat 0.4 s ago
Interface   Device  State  In octets  In packets  Out octets  Out packets  Discards  Errors    Age
Ethernet1   eth0    up       9.00 MB           0         0 B            0         0       0  0.4 s
Ethernet2   wan0    down         0 B           0         0 B            0         0       4  0.4 s
Ethernet10  dummy0  up           0 B           0         0 B            0         0       0  0.4 s
Ethernet11  fresh0  up           0 B           0         0 B            0         0       0  0.4 s

q quit  s sort: name  r rates  c since clear
)");
}

TEST_F(LiveTable, ANarrowPageHidesColumns) {
  TopPage sut({});
  sut.show(snapshot, {});
  EXPECT_EQ("\n" + text(sut.lines(60, 8)), R"(
oru-counters  1970-01-12 13:46:40  4 interfaces, 3 up
Agent running, process 4711, heartbeat 0.4 s ago; rates ave~
Interface   Device  State         In        Out  Errors
Ethernet1   eth0    up     2.00 Mb/s  1.00 Gb/s       0
Ethernet2   wan0    down       0 b/s      0 b/s       4
Ethernet10  dummy0  up     1.25 Gb/s  5.00 Mb/s       0
Ethernet11  fresh0  up           n/a        n/a       0
q quit  s sort: name  r totals  c since clear  7 columns hi~
)");
}

TEST_F(LiveTable, APageShowsCountsSinceTheClearAfterTheKey) {
  Intf& first = snapshot.interfaces[0];
  first.atLastClear = first.counters;
  first.atLastClear->statistics.inOctets = 8'000'000;
  TopPage sut({.totals = true});
  sut.show(snapshot, {});
  EXPECT_THAT(plainText(sut.lines(132, 9)[1]),
              testing::EndsWith("; counts as published: there was a clear"));
  sut.press(Key::sinceClear);
  EXPECT_EQ("\n" + text(sut.lines(132, 9)), R"(
oru-counters  1970-01-12 13:46:40  4 interfaces, 3 up
Agent running, process 4711, heartbeat 0.4 s ago; counts since the last clear
Interface   Device  State  In octets  In packets  Out octets  Out packets  Discards  Errors    Age   Cleared
Ethernet1   eth0    up       1.00 MB           0         0 B            0         0       0  0.4 s  13:46:39
Ethernet2   wan0    down         0 B           0         0 B            0         0       4  0.4 s     never
Ethernet10  dummy0  up           0 B           0         0 B            0         0       0  0.4 s     never
Ethernet11  fresh0  up           0 B           0         0 B            0         0       0  0.4 s     never

q quit  s sort: name  r rates  c as published
)");
  sut.press(Key::sinceClear);
  EXPECT_THAT(text(sut.lines(132, 9)), HasSubstr("9.00 MB"));
}

TEST_F(LiveTable, WithoutAClearNothingIsSaidOfOne) {
  TopPage sut({.totals = true});
  sut.show(snapshot, {});
  EXPECT_THAT(plainText(sut.lines(132, 9)[1]), Not(HasSubstr("clear")));
}

// The widest that there are: a name, a kernel's name, a state and an age.
TEST_F(LiveTable, APageOf80ColumnsNamesTheDeviceAndItsState) {
  snapshot.interfaces.push_back(
      intf("Ethernet4096/12", "enp129s0f1np1d1", OperState::lowerLayerDown));
  killAgent(snapshot);
  snapshot.now += 90'000.0;
  for (bool const totals : {false, true}) {
    TopPage sut({.totals = totals});
    sut.show(snapshot, {});
    std::string const page = text(sut.lines(80, 12));
    EXPECT_THAT(page, HasSubstr("Interface        Device           State  "));
    EXPECT_THAT(page, HasSubstr("Ethernet4096/12  enp129s0f1np1d1  lowerLayerDown  "));
  }
}

TEST_F(LiveTable, APageShowsTheRatesBetweenItsTwoLastSamples) {
  TopPage sut({});
  sut.show(snapshot, {});
  snapshot.interfaces[0].counters->statistics.inOctets += 125'000;
  snapshot.interfaces[0].counters->statistics.lastUpdate += 2.0;
  sut.show(snapshot, {});
  auto const lines = sut.lines(132, 9);
  EXPECT_THAT(plainText(lines[1]), testing::EndsWith("; rates from poll to poll"));
  EXPECT_THAT(plainText(lines[3]), HasSubstr("Ethernet1   eth0    up     1.00 Gb/s   500 kb/s"));
}

TEST_F(LiveTable, SortsByTheRatesThatItShows) {
  snapshot.interfaces[3].measuredRates = {.inBitsRate = 9e9};
  sort(snapshot, {.sort = SortKey::in});
  EXPECT_EQ(names(snapshot).front(), "Ethernet11");
}

TEST_F(LiveTable, EveryPageFitsItsScreen) {
  TopPage sut({});
  sut.show(snapshot, {"a problem that is longer than a narrow screen is wide"});
  for (std::size_t width = 1; width < 140; ++width) {
    for (std::size_t height = 1; height < 14; ++height) {
      auto const lines = sut.lines(width, height);
      EXPECT_LE(lines.size(), height);
      for (Line const& line : lines) EXPECT_LE(plainText(line).size(), width);
    }
  }
}

TEST_F(LiveTable, ScrollsWithinTheTable) {
  TopPage sut({});
  sut.show(snapshot, {});
  auto const firstRow = [&sut] { return plainText(sut.lines(132, 6)[3]); };
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet1 "));
  sut.press(Key::up);
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet1 "));
  sut.press(Key::down);
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet2 "));
  sut.press(Key::end);
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet10 "));
  sut.press(Key::pageDown);
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet10 "));
  sut.press(Key::pageUp);
  EXPECT_THAT(firstRow(), HasSubstr("Ethernet1 "));
}

TEST_F(LiveTable, TheSortKeyCyclesThroughAll) {
  TopPage sut({});
  std::vector<SortKey> seen;
  for (std::size_t i = 0; i < kSortKeyNames.size(); ++i) {
    seen.push_back(sut.options().sort);
    sut.press(Key::sort);
  }
  EXPECT_THAT(seen, ElementsAre(SortKey::name, SortKey::in, SortKey::out, SortKey::errors));
  EXPECT_EQ(sut.options().sort, SortKey::name);
}

TEST_F(LiveTable, QuitsOnlyByItsKey) {
  TopPage sut({});
  for (Key const key : {Key::sort, Key::rates, Key::up, Key::end}) EXPECT_TRUE(sut.press(key));
  EXPECT_FALSE(sut.press(Key::quit));
}

TEST_F(LiveTable, NewErrorsAreMarkedForAWhile) {
  ErrorWatch sut;
  Intf& intf = snapshot.interfaces[1];
  sut.see(snapshot);
  EXPECT_FALSE(sut.rising(snapshot, intf)) << "errors of old";
  snapshot.now += 1.0;
  intf.counters->statistics.outErrors += 1;
  sut.see(snapshot);
  EXPECT_TRUE(sut.rising(snapshot, intf));
  EXPECT_FALSE(sut.rising(snapshot, snapshot.interfaces[0]));
  snapshot.now += ErrorWatch::kMarked - 0.5;
  sut.see(snapshot);
  EXPECT_TRUE(sut.rising(snapshot, intf));
  snapshot.now += 1.0;
  sut.see(snapshot);
  EXPECT_FALSE(sut.rising(snapshot, intf));
}

TEST_F(LiveTable, RisingErrorsAreAnAlertEvenOnALinkThatIsDown) {
  ErrorWatch errors;
  errors.see(snapshot);
  snapshot.interfaces[1].counters->statistics.inErrors += 1;
  errors.see(snapshot);
  auto const row = topTable(snapshot, errors, {}).text().rows[1];
  EXPECT_THAT(ansiText(row), HasSubstr("\033[1;31m5\033[0m"));
  EXPECT_THAT(summary(snapshot, errors), HasSubstr("1 with new errors"));
}

// Time passes when it is waited for.
class VirtualPace : public Pace {
 public:
  double wallClock() override { return kNow + time; }
  double steadyClock() override { return 500.0 + time; }
  bool waitUntil(double steady) override {
    time = steady - 500.0;
    return time < endAt;
  }
  double time = 0.0;
  double endAt = 1e9;
};

class PlainTop : public LiveTable {
 protected:
  ExitCode run() {
    return plainTop(
        options,
        [this](double now) {
          Snapshot taken = snapshot;
          taken.now = now;
          times.push_back(now - kNow);
          if (each) each(taken);
          return taken;
        },
        pace, out, err);
  }
  Options options;
  VirtualPace pace;
  std::function<void(Snapshot&)> each;
  std::vector<double> times;
  std::ostringstream out, err;
};

TEST_F(PlainTop, PrintsOneTableEachIntervalUntilItsTimeIsOver) {
  options.interval = 2.0;
  options.duration = 5.0;
  EXPECT_EQ(run(), ExitCode::ok);
  EXPECT_THAT(times, ElementsAre(0.0, 2.0, 4.0));
}

TEST_F(PlainTop, ForNoTimePrintsOnce) {
  options.duration = 0.0;
  run();
  EXPECT_EQ("\n" + out.str(), R"(
1970-01-12 13:46:40  Agent running, process 4711, heartbeat 0.4 s ago; rates averaged over the load interval
Interface   Device  State      Speed         In   In use  In packets        Out  Out use  Out packets  Discards  Errors    Age
Ethernet1   eth0    up     1.00 Gb/s  2.00 Mb/s    0.2 %   1.00 kp/s  1.00 Gb/s  100.0 %    1.00 kp/s         0       0  0.4 s
Ethernet2   wan0    down         n/a      0 b/s      n/a       0 p/s      0 b/s      n/a        0 p/s         0       4  0.4 s
Ethernet10  dummy0  up     10.0 Gb/s  1.25 Gb/s   12.5 %   84.2 kp/s  5.00 Mb/s    0.1 %    84.2 kp/s         0       0  0.4 s
Ethernet11  fresh0  up           n/a        n/a      n/a         n/a        n/a      n/a          n/a         0       0  0.4 s
)");
}

TEST_F(PlainTop, ShowsTheRatesBetweenItsTables) {
  options.duration = 1.0;
  each = [this](Snapshot& taken) {
    taken.interfaces[1].counters->statistics.outOctets = 1'000'000 * times.size();
    taken.interfaces[1].counters->statistics.lastUpdate = taken.now;
  };
  run();
  EXPECT_THAT(out.str(), HasSubstr("; rates averaged over the load interval\n"));
  EXPECT_THAT(out.str(), HasSubstr("; rates from poll to poll\n"));
  EXPECT_THAT(out.str(), HasSubstr("8.00 Mb/s"));
}

TEST_F(PlainTop, CountsErrorsSinceTheClearWhenTold) {
  options.duration = 0.0;
  options.sinceClear = true;
  snapshot.interfaces[1].atLastClear = snapshot.interfaces[1].counters;
  snapshot.interfaces[1].counters->statistics.inErrors += 2;
  run();
  EXPECT_THAT(out.str(), HasSubstr("load interval; counts since the last clear\n"));
  EXPECT_THAT(out.str(), HasSubstr("0       2  0.4 s\n"));
}

TEST_F(PlainTop, EndsWhenItIsAskedTo) {
  pace.endAt = 2.5;
  EXPECT_EQ(run(), ExitCode::ok);
  EXPECT_THAT(times, ElementsAre(0.0, 1.0, 2.0));
}

// As with Ctrl-Z and fg.
TEST_F(PlainTop, DoesNotMakeUpForTablesThatItMissedWhileItWasStopped) {
  each = [this](Snapshot&) {
    if (times.size() == 2) pace.time = 20.3;
  };
  pace.endAt = 22.5;
  run();
  EXPECT_THAT(times, ElementsAre(0.0, 1.0, DoubleNear(20.3, 1e-6), DoubleNear(21.3, 1e-6),
                                 DoubleNear(22.3, 1e-6)));
}

TEST_F(PlainTop, EndsWhenItsTimeWasOverWhileItWasStopped) {
  options.duration = 5.0;
  each = [this](Snapshot&) { pace.time = 20.3; };
  run();
  EXPECT_THAT(times, ElementsAre(0.0));
}

TEST_F(PlainTop, EndsWhenItsOutputIsTakenNoMore) {
  out.setstate(std::ios::badbit);
  run();
  EXPECT_EQ(times.size(), 1u);
}

TEST_F(PlainTop, AsJsonPrintsOneObjectALine) {
  options.json = true;
  options.duration = 2.0;
  run();
  std::string const text = out.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
  EXPECT_THAT(text, HasSubstr("\"time\":1000002.0"));
}

TEST_F(PlainTop, TellsAProblemOnceWhileItLasts) {
  options.duration = 4.0;
  each = [this](Snapshot& taken) {
    bool const gone = times.size() >= 2 && times.size() <= 4;
    if (gone) taken.tables[Table::descriptions].answer = Glim::Answer::missing;
  };
  EXPECT_EQ(run(), ExitCode::ok);
  std::string const text = err.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST_F(PlainTop, EndsWithTheExitCodeOfItsLastTable) {
  options.duration = 1.0;
  options.names = {"Ethernet1", "Ethernet99"};
  EXPECT_EQ(run(), ExitCode::unknownName);
  EXPECT_THAT(err.str(), HasSubstr("there is no interface Ethernet99"));
  EXPECT_THAT(out.str(), Not(HasSubstr("Ethernet2")));
}

}  // namespace
}  // namespace Show
