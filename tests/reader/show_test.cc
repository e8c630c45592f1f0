// What the commands `show` print as a whole, of snapshots that were made up.
#include <gmock/gmock.h>

#include "tests/reader/shown.h"

namespace Show {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr char const* kNote = "Counters were cleared; --since-clear shows the counts since then.\n";

class ShowCommands : public Shown {
 protected:
  void clearFirst() { snapshot.interfaces[0].atLastClear = snapshot.interfaces[0].counters; }
};

TEST_F(ShowCommands, ShowInterfacesTakesNoTableOfQueuesOrDrops) {
  EXPECT_THAT(kShowInterfaces.tables,
              testing::ElementsAre(Table::counters, Table::clearCounters, Table::descriptions));
  EXPECT_THAT(kShowQueues.tables, Not(Contains(Table::aclDropCounters)));
  EXPECT_THAT(kShowDrops.tables, Not(Contains(Table::queueCounters)));
}

TEST_F(ShowCommands, CountsThatWereClearedAreToldWhereTheyAreShownAsPublished) {
  for (ShowCommand const* const command : {&kShowInterfaces, &kShowQueues}) {
    show(*command);
    EXPECT_THAT(out.str(), Not(HasSubstr(kNote)));
  }
  clearFirst();
  for (ShowCommand const* const command : {&kShowInterfaces, &kShowQueues}) {
    show(*command);
    EXPECT_THAT(out.str(), StartsWith("Agent running, process 4711, heartbeat 0.4 s ago\n" +
                                      std::string(kNote) + "\nInterface"));
  }
}

TEST_F(ShowCommands, CountsSinceTheClearNeedNoNote) {
  clearFirst();
  options.sinceClear = true;
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), AllOf(Not(HasSubstr(kNote)), HasSubstr("Cleared")));
}

TEST_F(ShowCommands, RatesSinceTheClearAreToldToBeTheSame) {
  options.rates = options.sinceClear = true;
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), HasSubstr("\nA clear does not change them: "));
  options.errors = true;  // which are counts
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), Not(HasSubstr("A clear does not change them")));
}

TEST_F(ShowCommands, AClearIsNotToldOfIntfsThatAreNotShown) {
  clearFirst();
  options.names = {"Ethernet2"};
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), Not(HasSubstr(kNote)));
}

TEST_F(ShowCommands, AClearSaysNothingOfRatesAndDrops) {
  clearFirst();
  show(kShowDrops);
  EXPECT_THAT(out.str(), Not(HasSubstr(kNote)));
  options.rates = true;
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), Not(HasSubstr(kNote)));
  options.errors = true;
  show(kShowInterfaces);
  EXPECT_THAT(out.str(), HasSubstr(kNote));
}

TEST_F(ShowCommands, WithoutItsTableOfDropsACommandSaysWhatThatMeans) {
  snapshot.tables[Table::aclDropCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(show(kShowDrops), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no table /tables/aclDropCounters.glim: the agent's chip counts "
            "no ACL drops, or the agent is of an older version\n");
}

TEST_F(ShowCommands, WithoutItsTableOfQueuesACommandSaysWhatThatMeans) {
  snapshot.tables[Table::queueCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(show(kShowQueues), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no table /tables/intfQueueCounters.glim: the agent counts no "
            "queues; it may be of an older version\n");
}

TEST_F(ShowCommands, WithoutTheQueuesAtTheClearTheirCountsAreShown) {
  snapshot.tables[Table::clearQueueCounters].answer = Glim::Answer::missing;
  snapshot.interfaces[0].queues = queueRow(snapshot.interfaces[0], 1);
  EXPECT_EQ(show(kShowQueues), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), HasSubstr("Ethernet1  eth0        0  unicast      100"));
  EXPECT_THAT(err.str(), HasSubstr("intfClearQueueCounters.glim"));
}

TEST_F(ShowCommands, WithoutIntfsACommandSaysSo) {
  snapshot.interfaces.clear();
  for (ShowCommand const* const command : {&kShowInterfaces, &kShowQueues, &kShowDrops}) {
    EXPECT_EQ(show(*command), ExitCode::ok);
    EXPECT_THAT(out.str(), HasSubstr("\nNo interfaces.\n"));
  }
}

}  // namespace
}  // namespace Show
