// A table with some rows, damaged by a test and then checked.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/glim/table_check.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimTest {

inline constexpr Glim::Word rows = 10;

inline std::vector<std::string> lines(std::vector<Glim::Finding> const& findings) {
  std::vector<std::string> found;
  for (Glim::Finding const& finding : findings) found.push_back(finding.text);
  return found;
}

class TableCheck : public TableTest {
 protected:
  void SetUp() override {
    table = makeTable<Small>({.maxRows = 64});
    for (std::uint64_t key = 1; key <= rows; ++key) table->write({{key}, key * 10});
  }
  Glim::CheckReport check() {
    Glim::TableFile sut;
    EXPECT_EQ(sut.open(file(), {}), Glim::Answer::ok);
    return Glim::checkTable(sut, options);
  }
  // The writer lets go, so that nothing may be unfinished; then the file is damaged.
  Glim::CheckReport checkDamaged(std::function<void(Vandal&)> const& damage) {
    table = nullptr;
    Vandal vandal(file());
    damage(vandal);
    return check();
  }
  // The bucket that leads to a slot.
  static Glim::Word& bucketOf(Vandal& vandal, Glim::Word slot) {
    for (Glim::Word i = 0; i < vandal.geometry().buckets; ++i)
      if (vandal.bucket(i) != 0 && Glim::Layout::entrySlot(vandal.bucket(i)) == slot)
        return vandal.bucket(i);
    throw std::runtime_error("no bucket leads to the slot");
  }
  static Glim::Word& emptyBucket(Vandal& vandal) {
    for (Glim::Word i = 0; i < vandal.geometry().buckets; ++i)
      if (vandal.bucket(i) == 0) return vandal.bucket(i);
    throw std::runtime_error("no bucket is empty");
  }

  Table<Small> table;
  Glim::CheckOptions options{
      .keyHash = [](void const* key) { return Glim::keyAt<NumberKey>(key).hash(); },
      .keyText = [](void const* key) { return Glim::keyAt<NumberKey>(key).stringValue(); }};
};

}  // namespace GlimTest
