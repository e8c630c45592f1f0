#include "reader/drop_view.h"

#include <gmock/gmock.h>

#include "reader/text_table.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using testing::HasSubstr;

class DropsView : public testing::Test {
 protected:
  DropsView() { snapshot.interfaces[0].drops = {snapshot.interfaces[0].intfId, 12}; }
  std::string view(std::size_t width = kUnlimited) const {
    return "\n" + plain(dropsView(snapshot, width));
  }
  Snapshot snapshot = Show::snapshot(
      {intf("Ethernet1", "eth0"), intf("Ethernet2", "wan0", Interface::OperState::down)});
};

TEST_F(DropsView, AnIntfIsALine) {
  snapshot.interfaces[1].drops = {snapshot.interfaces[1].intfId, 18446744073709551615u};
  EXPECT_EQ(view(), R"(
Interface  Device  State   ACL dropped packets  Row
Ethernet1  eth0    up                       12  current
Ethernet2  wan0    down   18446744073709551615  current
)");
}

TEST_F(DropsView, AnIntfWithoutARowHasNoValue) {
  EXPECT_EQ(view(), R"(
Interface  Device  State  ACL dropped packets  Row
Ethernet1  eth0    up                      12  current
Ethernet2  wan0    down                   n/a  n/a
)");
}

TEST_F(DropsView, RowsOfADeadAgentAreStale) {
  killAgent(snapshot);
  EXPECT_THAT(view(), HasSubstr("                   12  stale\n"));
}

TEST_F(DropsView, TheRowOfALinkThatIsGoneIsStale) {
  snapshot.interfaces[0].description->operState = Interface::OperState::notPresent;
  EXPECT_THAT(view(), HasSubstr("  12  stale\n"));
}

TEST_F(DropsView, AClearTakesNothingAway) {
  snapshot.interfaces[0].atLastClear = snapshot.interfaces[0].counters;
  EXPECT_EQ(aclDropPkts(snapshot.interfaces[0]), 12u);
}

TEST_F(DropsView, ANarrowTerminalKeepsTheDrops) {
  EXPECT_EQ(view(30), R"(
Interface  ACL dropped packets
Ethernet1                   12
Ethernet2                  n/a
3 columns hidden: the terminal is too narrow
)");
}

}  // namespace
}  // namespace Show
