#include "reader/problems.h"

#include <gmock/gmock.h>

#include <set>

#include "reader/snapshot.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class ProblemsOfASnapshot : public testing::Test {
 protected:
  std::vector<Problem> of(Glim::Answer answer) {
    snapshot.tables[Table::counters].answer = answer;
    return problems(snapshot, {});
  }
  Snapshot snapshot = Show::snapshot({intf("Ethernet1", "eth0")});
};

TEST_F(ProblemsOfASnapshot, ThereAreNoneWhenAllWasRead) {
  EXPECT_THAT(problems(snapshot, {}), IsEmpty());
  EXPECT_EQ(exitCode({}), ExitCode::ok);
}

TEST_F(ProblemsOfASnapshot, NoTablesAtAllIsOneProblemThatSaysWhatToDo) {
  for (auto& [table, read] : snapshot.tables) read.answer = Glim::Answer::missing;
  auto const found = problems(snapshot, {"Ethernet7"});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].text,
            "there are no tables in /tables; start the agent with: oru-agentd --tables /tables");
  EXPECT_EQ(exitCode(found), ExitCode::tableMissing);
}

TEST_F(ProblemsOfASnapshot, WhatIsNoDirectoryIsToldToBeNone) {
  EXPECT_EQ(noTables("/dev/null").text, "there are no tables in /dev/null, which is no directory");
  EXPECT_EQ(noTables("/dev/null").code, ExitCode::tableMissing);
}

TEST_F(ProblemsOfASnapshot, EachStateOfATableHasItsOwnMessage) {
  std::set<std::string> texts;
  using enum Glim::Answer;
  auto const all = {missing,   retired,     unreadable,  unsafe,
                    notATable, otherLayout, otherSchema, truncated};
  for (Glim::Answer const answer : all) {
    auto const found = of(answer);
    ASSERT_THAT(found, SizeIs(1)) << Glim::text(answer);
    EXPECT_THAT(found[0].text, HasSubstr("/tables/intfCounters.glim"));
    EXPECT_TRUE(texts.insert(found[0].text).second) << found[0].text;
  }
}

TEST_F(ProblemsOfASnapshot, ATableOfAStrangerIsToldByItsOwner) {
  auto& table = snapshot.tables[Table::counters];
  table.stranger = "alice (user 1000)";
  EXPECT_THAT(of(Glim::Answer::unsafe)[0].text, HasSubstr("it belongs to alice (user 1000)"));
  snapshot.directoryNamed = false;
  auto const found = of(Glim::Answer::unsafe);
  EXPECT_EQ(found[0].text,
            "/tables/intfCounters.glim belongs to alice (user 1000), who is neither you nor the "
            "superuser; if you trust it, name the directory: oru-counters --tables /tables");
  EXPECT_EQ(exitCode(found), ExitCode::unsafeTable);
}

TEST_F(ProblemsOfASnapshot, EachKindOfProblemHasItsOwnExitCode) {
  EXPECT_EQ(exitCode(of(Glim::Answer::missing)), ExitCode::tableMissing);
  EXPECT_EQ(exitCode(of(Glim::Answer::unreadable)), ExitCode::unreadable);
  EXPECT_EQ(exitCode(of(Glim::Answer::notATable)), ExitCode::notATable);
  EXPECT_EQ(exitCode(of(Glim::Answer::truncated)), ExitCode::notATable);
  EXPECT_EQ(exitCode(of(Glim::Answer::otherLayout)), ExitCode::otherVersion);
  EXPECT_EQ(exitCode(of(Glim::Answer::otherSchema)), ExitCode::otherVersion);
  EXPECT_EQ(exitCode(of(Glim::Answer::unsafe)), ExitCode::unsafeTable);
}

TEST_F(ProblemsOfASnapshot, CorruptRowsAreCounted) {
  snapshot.tables[Table::counters].corruptRows = 2;
  auto const found = problems(snapshot, {});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].text, "2 corrupt rows of /tables/intfCounters.glim were left out");
  EXPECT_EQ(exitCode(found), ExitCode::rowsLeftOut);
}

TEST_F(ProblemsOfASnapshot, ARowThatKeepsChangingIsTold) {
  snapshot.tables[Table::counters].busyRows = 1;
  auto const found = problems(snapshot, {});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].text, "1 row of /tables/intfCounters.glim kept changing and was left out");
}

TEST_F(ProblemsOfASnapshot, AnUnknownIntfIsNamed) {
  auto const found = problems(snapshot, {"Ethernet7"});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].text, "there is no interface Ethernet7");
  EXPECT_EQ(exitCode(found), ExitCode::unknownName);
}

TEST_F(ProblemsOfASnapshot, AnIntfOfAnotherKindPointsToTheCommandThatShowsIt) {
  snapshot.tables[Table::vlanIntfCounters].answer = Glim::Answer::ok;
  auto const textOf = [this](char const* name, Named const& named) {
    return problems(snapshot, {name}, named)[0].text;
  };
  Named const vlanIntfs{"VLAN interface", Table::vlanIntfCounters};
  EXPECT_EQ(textOf("Vlan7", {}),
            "there is no interface Vlan7 here; of VLAN interfaces, see: oru-counters show "
            "vlan-interfaces");
  EXPECT_EQ(textOf("Ethernet7", vlanIntfs),
            "there is no VLAN interface Ethernet7 here; of Ethernet interfaces, see: oru-counters "
            "show interfaces");
  EXPECT_EQ(textOf("Cpu", {}),
            "there is no interface Cpu here; of the CPU port, see: oru-counters show copp");
  EXPECT_EQ(textOf("Vlan7", vlanIntfs), "there is no VLAN interface Vlan7");
}

TEST_F(ProblemsOfASnapshot, ANameInOtherLettersIsToldHowItIsWritten) {
  EXPECT_EQ(problems(snapshot, {"eThErNeT7/1"})[0].text,
            "there is no interface eThErNeT7/1; such names are written Ethernet7/1");
  EXPECT_EQ(problems(snapshot, {"eth7"})[0].text, "there is no interface eth7");
}

TEST_F(ProblemsOfASnapshot, NoIntfIsCalledUnknownWhenTheTableCouldNotBeRead) {
  snapshot.tables[Table::counters].answer = Glim::Answer::unreadable;
  EXPECT_THAT(problems(snapshot, {"Ethernet7"}), SizeIs(1));
}

TEST_F(ProblemsOfASnapshot, TablesCountBeforeRowsAndRowsBeforeNames) {
  snapshot.tables[Table::counters].corruptRows = 1;
  EXPECT_EQ(exitCode(problems(snapshot, {"Ethernet7"})), ExitCode::rowsLeftOut);
  snapshot.tables[Table::descriptions].answer = Glim::Answer::unsafe;
  EXPECT_EQ(exitCode(problems(snapshot, {"Ethernet7"})), ExitCode::unsafeTable);
}

TEST(ExitCodeOfProblems, DamageThatVerifyFoundComesBeforeRowsLeftOutAndAfterUnreadableTables) {
  Problem const damage{ExitCode::damageFound, ""}, row{ExitCode::rowsLeftOut, ""},
      name{ExitCode::unknownName, ""}, unsafe{ExitCode::unsafeTable, ""};
  EXPECT_EQ(exitCode({name, row, damage}), ExitCode::damageFound);
  EXPECT_EQ(exitCode({name, row}), ExitCode::rowsLeftOut);
  EXPECT_EQ(exitCode({damage, unsafe}), ExitCode::unsafeTable);
}

}  // namespace
}  // namespace Show
