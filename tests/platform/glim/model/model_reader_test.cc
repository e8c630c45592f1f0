// Whether the exploration loses anything by giving up runs that come to a known state: small cases
// are explored without that, too.
#include "tests/platform/glim/model/model_reader.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "platform/glim/table_reader.h"
#include "tests/platform/glim/model/index_scripts.h"
#include "tests/platform/glim/model/report.h"

namespace GlimModel {
namespace {

using Glim::Answer;
using Ends = std::set<std::tuple<Answer, std::uint64_t, View>>;

// What `run` may come to: its answer, the row's count, and what the reader then knows.
template <class Run>
Ends endsOf(ModelReader& reader, Run run) {
  Ends ends;
  Answer answer{};
  Row row;
  reader.explore(
      View(), 0, [&] { answer = run(row); },
      [&] { ends.emplace(answer, answer == Answer::ok ? row.count : 0, reader.view()); });
  report(reader.runs(), reader.states());
  return ends;
}

// Compares `run` in both ways.
template <class Run>
void expectNothingLost(RecordedTable const& table, Run run) {
  History const history(table.program(), table.initial());
  ModelReader sut(table, history);
  sut.wantedIs(Keys().c.value);
  ModelReader following(table, history);
  following.wantedIs(Keys().c.value);
  following.followAll();
  EXPECT_EQ(endsOf(sut, run), endsOf(following, run));
  EXPECT_LT(sut.runs(), following.runs());
}

TEST(GlimModelReader, LosesNoEndOfACopyByGivingRunsUp) {
  RecordedTable table(Glim::rowShape<Row>(), 1);
  table.record();
  for (std::uint64_t count = 1; count <= 6; ++count) Keys::write(table, {1}, count);
  expectNothingLost(table, [&](Row& row) {
    return Glim::readSlotAlone(table.file().mapping().slotAt(0), table.geometry().rowWords, 0, &row,
                               3);
  });
}

TEST(GlimModelReader, LosesNoEndOfASearchByGivingRunsUp) {
  Keys const keys;
  RecordedTable table(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(table);
  keys.comeAndGo(table);
  Glim::TableReader reader(table.path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  auto const isC = [&](void const* row) { return Glim::keyAt<Key>(row) == keys.c; };
  expectNothingLost(table, [&](Row& row) { return reader.find(keys.c.hash(), isC, &row); });
}

}  // namespace
}  // namespace GlimModel
