// The tables of interfaces: counts, rates and errors; and what stands around them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "reader/agent_line.h"
#include "reader/cells.h"
#include "reader/counters_view.h"
#include "reader/errors_view.h"
#include "reader/intf_state.h"
#include "reader/rates_view.h"
#include "reader/text_table.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Interface::EthCounter;
using Interface::OperState;

class IntfViews : public testing::Test {
 protected:
  IntfViews() {
    ::setenv("TZ", "UTC", 1);  // times of clears are local
    auto& busy = snapshot.interfaces[0];
    busy.description->speed = 10'000'000'000;
    auto& counts = busy.counters->statistics;
    counts.inOctets = 18446744073709551615u;
    counts.inUcastPkts = 123456789;
    counts.inErrors = 7;
    counts.outOctets = 4200;
    counts.outUcastPkts = 40;
    counts.outMulticastPkts = 2;
    counts.outDiscards = 3;
    busy.counters->ethStatistics[EthCounter::fcsErrors] = 7;
    giveRates(busy, 1.25e9, 84.0, 84200.0);

    Interface::CounterSet unsupported;
    for (auto const name : {"inDiscards", "alignmentErrors", "symbolErrors"})
      unsupported.insert(name);
    snapshot.interfaces[1].description->unsupported = unsupported.word();
    snapshot.interfaces[1].counters->statistics.inUnknownProtos = Wib::MaybeU63::none();
    snapshot.interfaces[2].counters->statistics.lastUpdate = 0.0;
  }
  Snapshot snapshot =
      Show::snapshot({intf("Ethernet1", "eth0"), intf("Ethernet2", "wan0", OperState::down),
                      intf("Ethernet10", "dummy0", OperState::unknown)});
};

TEST_F(IntfViews, CountersAreExact) {
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::total, kUnlimited)), R"(
Interface   Device  State               In octets  In packets  In discards  In errors  Out octets  Out packets  Out discards  Out errors    Age  Alias
Ethernet1   eth0    up       18446744073709551615   123456789            0          7        4200           42             3           0  0.4 s  n/a
Ethernet2   wan0    down                        0           0          n/a          0           0            0             0           0  0.4 s  n/a
Ethernet10  dummy0  unknown                   n/a         n/a          n/a        n/a         n/a          n/a           n/a         n/a  never  n/a
)");
}

TEST_F(IntfViews, RatesHaveUnits) {
  EXPECT_EQ("\n" + plain(ratesView(snapshot, kUnlimited)), R"(
Interface   Device  State        Speed         In  In use  In packets     Out  Out use  Out packets    Age
Ethernet1   eth0    up       10.0 Gb/s  1.25 Gb/s  12.5 %   84.2 kp/s  84 b/s    0.0 %    84.2 kp/s  0.4 s
Ethernet2   wan0    down           n/a        n/a     n/a         n/a     n/a      n/a          n/a  0.4 s
Ethernet10  dummy0  unknown        n/a        n/a     n/a         n/a     n/a      n/a          n/a  never
)");
}

TEST_F(IntfViews, ErrorsAreShownByDirectionAndClass) {
  EXPECT_EQ("\n" + plain(errorsView(snapshot, Basis::total, kUnlimited)), R"(
Receive     Errors  Alignment  FCS  Too long  Too short  MAC  Symbol  Fragments  Jabbers  Unknown protocols  Discards    Age
Ethernet1        7          0    7         0          0    0       0          0        0                  0         0  0.4 s
Ethernet2        0        n/a    0         0          0    0     n/a          0        0                n/a       n/a  0.4 s
Ethernet10     n/a        n/a  n/a       n/a        n/a  n/a     n/a        n/a      n/a                n/a       n/a  never

Transmit    Errors  SQE test  Late collisions  Excessive collisions  MAC  Carrier sense  Discards    Age
Ethernet1        0         0                0                     0    0              0         3  0.4 s
Ethernet2        0         0                0                     0    0              0         0  0.4 s
Ethernet10     n/a       n/a              n/a                   n/a  n/a            n/a       n/a  never
)");
}

TEST_F(IntfViews, ATerminalOf80ColumnsHidesWhatMattersLeast) {
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::total, 80)), R"(
Interface   Device  State               In octets  Out octets    Age
Ethernet1   eth0    up       18446744073709551615        4200  0.4 s
Ethernet2   wan0    down                        0           0  0.4 s
Ethernet10  dummy0  unknown                   n/a         n/a  never
7 columns hidden: the terminal is too narrow
)");
}

TEST_F(IntfViews, RowsOfADeadAgentAreStaleAndKeepTheirCounts) {
  killAgent(snapshot);
  snapshot.now += 11.6;
  snapshot.interfaces.resize(2);
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::total, 60)), R"(
Interface  Device  State             In octets  Out octets
Ethernet1  eth0    up     18446744073709551615        4200
Ethernet2  wan0    down                      0           0
8 columns hidden: the terminal is too narrow
)");
}

TEST_F(IntfViews, AnIntfWithoutDescriptionOrRowHasNoValues) {
  snapshot.interfaces.resize(2);
  snapshot.interfaces[0].description.reset();
  snapshot.interfaces[1].counters.reset();
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::total, kUnlimited)), R"(
Interface  Device  State             In octets  In packets  In discards  In errors  Out octets  Out packets  Out discards  Out errors    Age  Alias
Ethernet1  n/a     n/a    18446744073709551615   123456789            0          7        4200           42             3           0  0.4 s  n/a
Ethernet2  wan0    down                    n/a         n/a          n/a        n/a         n/a          n/a           n/a         n/a  never  n/a
)");
}

TEST_F(IntfViews, CountersSinceTheLastClearLeaveOutWhatWasBefore) {
  snapshot.interfaces.resize(1);
  snapshot.interfaces[0].atLastClear = snapshot.interfaces[0].counters;
  snapshot.interfaces[0].counters->statistics.outOctets += 5;
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::sinceClear, kUnlimited)), R"(
Interface  Device  State  In octets  In packets  In discards  In errors  Out octets  Out packets  Out discards  Out errors    Age   Cleared  Alias
Ethernet1  eth0    up             0           0            0          0           5            0             0           0  0.4 s  13:46:39  n/a
)");
}

TEST_F(IntfViews, TheClearOfOneIntfIsNotThatOfTheOthers) {
  snapshot.interfaces[1].atLastClear = snapshot.interfaces[1].counters;
  snapshot.interfaces[1].atLastClear->statistics.lastUpdate = kNow - 86400.0;
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::sinceClear, 90)), R"(
Interface   Device  State               In octets  Out octets    Age              Cleared
Ethernet1   eth0    up       18446744073709551615        4200  0.4 s                never
Ethernet2   wan0    down                        0           0  0.4 s  1970-01-11 13:46:40
Ethernet10  dummy0  unknown                   n/a         n/a  never                never
7 columns hidden: the terminal is too narrow
)");
  EXPECT_EQ("\n" + plain(countersView(snapshot, Basis::sinceClear, 85)), R"(
Interface   Device  State               In octets  Out octets              Cleared
Ethernet1   eth0    up       18446744073709551615        4200                never
Ethernet2   wan0    down                        0           0  1970-01-11 13:46:40
Ethernet10  dummy0  unknown                   n/a         n/a                never
8 columns hidden: the terminal is too narrow
)");
}

TEST_F(IntfViews, AClearRowWithoutATimeIsNoClear) {
  snapshot.interfaces[0].atLastClear.emplace();
  EXPECT_EQ(clearedCell(snapshot, snapshot.interfaces[0]).text, "never");
  EXPECT_FALSE(anyCleared(snapshot));
}

TEST_F(IntfViews, ErrorsSinceTheLastClearTellTheClear) {
  snapshot.interfaces.resize(1);
  snapshot.interfaces[0].atLastClear = snapshot.interfaces[0].counters;
  snapshot.interfaces[0].counters->ethStatistics[EthCounter::fcsErrors] += 2;
  auto const lines = errorsView(snapshot, Basis::sinceClear, kUnlimited);
  for (std::size_t const title : {0u, 3u})
    EXPECT_TRUE(plainText(lines[title]).ends_with("    Age   Cleared"));
  EXPECT_EQ(plainText(lines[1]).find("Ethernet1       0          0    2"), 0u);
  EXPECT_TRUE(plainText(lines[1]).ends_with("  0.4 s  13:46:39"));
}

TEST_F(IntfViews, TheStateOfAnIntfThatIsSwitchedOffIsThat) {
  snapshot.interfaces[1].description->adminState = Interface::AdminState::down;
  EXPECT_EQ(stateName(snapshot.interfaces[1]), "admin-down");
  EXPECT_TRUE(isDown(snapshot.interfaces[1]));
}

TEST_F(IntfViews, TheStateOfALinkThatIsGoneIsThatWhateverItWasSwitchedTo) {
  snapshot.interfaces[1].description->operState = OperState::notPresent;
  snapshot.interfaces[1].description->adminState = Interface::AdminState::down;
  EXPECT_EQ(stateName(snapshot.interfaces[1]), "notPresent");
}

TEST_F(IntfViews, TheRowOfALinkThatIsGoneIsStaleAndHasNoRates) {
  snapshot.interfaces.resize(2);
  snapshot.interfaces[0].description->operState = OperState::notPresent;
  EXPECT_EQ("\n" + plain(ratesView(snapshot, kUnlimited)), R"(
Interface  Device  State           Speed   In  In use  In packets  Out  Out use  Out packets          Age
Ethernet1  eth0    notPresent  10.0 Gb/s  n/a     n/a         n/a  n/a      n/a          n/a  stale 0.4 s
Ethernet2  wan0    down              n/a  n/a     n/a         n/a  n/a      n/a          n/a        0.4 s
)");
}

TEST_F(IntfViews, LinksThatAreDownAreDim) {
  auto const lines = countersView(snapshot, Basis::total, kUnlimited);
  EXPECT_EQ(lines[1][0].style, Style::plain);
  EXPECT_EQ(lines[2][0].style, Style::dim);
  EXPECT_EQ(lines[3][0].style, Style::plain);
}

// The widest that there are: a name, a kernel's name, a state, counts and an age.
TEST_F(IntfViews, ATerminalOf80ColumnsNamesTheDeviceAndItsState) {
  snapshot.interfaces = {intf("Ethernet4096/12", "enp129s0f1np1d1", OperState::lowerLayerDown)};
  auto& counts = snapshot.interfaces[0].counters->statistics;
  counts.inOctets = counts.outOctets = 18446744073709551615u;
  giveRates(snapshot.interfaces[0], 84.2e9, 84.2e9, 84200.0);
  killAgent(snapshot);
  snapshot.now += 90'000.0;
  for (auto const& lines : {countersView(snapshot, Basis::total, 80), ratesView(snapshot, 80)}) {
    EXPECT_EQ(plainText(lines[0]).find("Interface        Device           State"), 0u);
    EXPECT_EQ(plainText(lines[1]).find("Ethernet4096/12  enp129s0f1np1d1  lowerLayerDown"), 0u);
    EXPECT_LE(plainText(lines[1]).size(), 80u);
  }
}

TEST_F(IntfViews, TheAliasIsTheLastColumnAndTheFirstToGo) {
  snapshot.interfaces.resize(1);
  snapshot.interfaces[0].description->alias = std::string_view("to the core");
  auto const rowOf = [this](std::size_t width) {
    return plainText(countersView(snapshot, Basis::total, width)[1]);
  };
  std::size_t const whole = rowOf(kUnlimited).size();
  EXPECT_NE(rowOf(whole).find("0.4 s  to the core"), std::string::npos);
  auto const narrower = countersView(snapshot, Basis::total, whole - 1);
  EXPECT_EQ(plainText(narrower[0]).find("Alias"), std::string::npos);
  EXPECT_NE(plainText(narrower[0]).find("Out discards"), std::string::npos);
}

TEST_F(IntfViews, AnAliasCannotDriveTheTerminalNorEndItsCell) {
  snapshot.interfaces.resize(1);
  snapshot.interfaces[0].description->alias = std::string_view("  a\033[2J  b\n ");
  auto const row = plainText(countersView(snapshot, Basis::total, kUnlimited)[1]);
  EXPECT_NE(row.find("0.4 s  a?[2J b?"), std::string::npos) << row;
}

TEST_F(IntfViews, ALongAliasIsCutOnATerminalOnly) {
  snapshot.interfaces.resize(1);
  std::string const alias(200, 'x');
  snapshot.interfaces[0].description->alias = std::string_view(alias);
  auto const rowOf = [this](std::size_t width) {
    return plainText(countersView(snapshot, Basis::total, width)[1]);
  };
  EXPECT_NE(rowOf(kUnlimited).find("  " + alias), std::string::npos);
  EXPECT_NE(rowOf(400).find("  " + alias.substr(0, 31) + "~"), std::string::npos);
}

TEST_F(IntfViews, AnIntfsTextCannotDriveTheTerminal) {
  snapshot.interfaces.resize(1);
  snapshot.interfaces[0].description->kernelName = std::string_view("a\033[2J");
  EXPECT_EQ(plain(countersView(snapshot, Basis::total, kUnlimited)).find('\033'),
            std::string::npos);
}

TEST_F(IntfViews, TheAgentLineSaysWhetherItLives) {
  EXPECT_EQ(plainText(agentLine(snapshot)), "Agent running, process 4711, heartbeat 0.4 s ago");
  snapshot.agent.state = AgentState::silent;
  snapshot.agent.heartbeatAge = 75.0;
  EXPECT_EQ(plainText(agentLine(snapshot)),
            "Agent silent, process 4711, last heartbeat 1 min 15 s ago: rows are stale");
  killAgent(snapshot);
  EXPECT_EQ(plainText(agentLine(snapshot)),
            "Agent not running, last heartbeat 12 s ago: rows are stale");
  snapshot.agent = {};
  EXPECT_EQ(plainText(agentLine(snapshot)), "Agent unknown: there is no table that would tell");
}

}  // namespace
}  // namespace Show
