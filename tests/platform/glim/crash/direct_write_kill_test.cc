// The fields of a direct write are plain stores of the caller's into the file: its writer is killed
// between any two of them.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/glim/table_fixture.h"

namespace GlimCrash {
namespace {

using Glim::Answer;
using GlimTest::isWhole;
using GlimTest::killed;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;

constexpr std::string_view present = "Ethernet1";
constexpr std::string_view other = "Ethernet2";
constexpr std::string_view absent = "Ethernet3";

class GlimDirectWriteKill : public GlimTest::TableTest {
 protected:
  using Readers = std::array<Glim::Reader<Large>*, 2>;

  GlimDirectWriteKill() {
    auto const table = makeTable<Large>({.maxRows = 16});
    table->write(largeRow(present, 1));
    table->write(largeRow(other, 2));
  }

  // The writer is killed when it has stored so many of the fields, and before it commits.
  void killWithin(std::string_view key, std::size_t fields) {
    int const status = GlimTest::inChild([&] {
      auto const table = makeTable<Large>({.maxRows = 16});
      auto const slot = table->directWrite(NameKey(key));
      for (std::size_t i = 0; i < fields; ++i) slot->counts[i] = 99;
      return ::kill(::getpid(), SIGKILL);
    });
    ASSERT_TRUE(killed(status));
  }

  void expectValue(Readers const& readers, std::string_view key, std::uint64_t value) {
    for (Glim::Reader<Large>* const reader : readers) {
      Large row;
      Answer const answer = reader->lookup(NameKey(key), row);
      if (value == 0) {
        EXPECT_EQ(answer, Answer::absent);
      } else {
        ASSERT_EQ(answer, Answer::ok);
        EXPECT_EQ(row.counts[0], value);
        EXPECT_TRUE(isWhole(row));
      }
      EXPECT_EQ(reader->forEach([](Large const& each) { EXPECT_TRUE(isWhole(each)); }).corrupt, 0u);
    }
  }

  // Kills at each field in turn; the key's row stays as it is, and can be written on.
  void killAtEachField(std::string_view key, bool isThere) {
    std::size_t const all = Large().counts.size();
    std::uint64_t value = isThere ? 1 : 0;
    Glim::Reader<Large> before(path());
    ASSERT_EQ(before.attach(), Answer::ok);
    for (std::size_t fields = 0; fields <= all; ++fields) {
      killWithin(key, fields);
      Glim::Reader<Large> now(path());
      ASSERT_EQ(now.attach(), Answer::ok);
      Readers const readers{&before, &now};
      expectValue(readers, key, value);
      expectValue(readers, other, 2);

      auto const next = makeTable<Large>({.maxRows = 16});
      EXPECT_EQ(next->conquest()->corruptRows, 0u);
      EXPECT_EQ(next->lookup(NameKey(key)).counts[0], value);
      expectValue(readers, key, value);
      auto const slot = next->directWrite(NameKey(key));
      EXPECT_EQ(slot->counts, isThere ? largeRow(key, value).counts : Large().counts);
      slot->counts.fill(fields + 3);
      expectValue(readers, key, value);
      next->commit(slot);
      expectValue(readers, key, fields + 3);
      EXPECT_TRUE(next->map().implementation().validate());
      if (isThere) {
        value = fields + 3;
      } else {
        next->remove(NameKey(key));
      }
      if (HasFailure()) FAIL() << "killed with " << fields << " fields stored";
    }
  }
};

TEST_F(GlimDirectWriteKill, BetweenAnyTwoFieldsOfAKeyThatIsThereLeavesItsRow) {
  killAtEachField(present, true);
}

TEST_F(GlimDirectWriteKill, BetweenAnyTwoFieldsOfAnAbsentKeyLeavesItAbsent) {
  killAtEachField(absent, false);
}

}  // namespace
}  // namespace GlimCrash
