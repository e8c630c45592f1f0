#include "hardware/linux/offset_store.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace Hardware::Linux {
namespace {

// An account of which only the offset counts, and a store that may be full.
struct Account {
  bool mustSave() const { return isDue; }
  void saved() { isDue = false; }
  std::optional<int> const& stored() const { return offset; }
  bool isDue = true;
  std::optional<int> offset = 7;
};

class Store final : public OffsetStoreOf<int> {
 public:
  std::optional<int> load(Pekt::IntfId const&) override { return kept; }
  bool save(Pekt::IntfId const&, int const& offset) override {
    ++saves;
    if (!isFull) kept = offset;
    return !isFull;
  }
  void erase(Pekt::IntfId const&) override { kept.reset(); }
  void forEach(std::function<void(Pekt::IntfId const&)> const&) override {}
  std::optional<int> kept;
  bool isFull = false;
  int saves = 0;
};

class SaveOffsets : public testing::Test {
 protected:
  bool save() { return saveOffsets(store, "Ethernet1", account); }
  Account account;
  Store store;
};

TEST_F(SaveOffsets, WhatMustBeSavedIsSavedOnce) {
  EXPECT_TRUE(save());
  EXPECT_EQ(store.kept, 7);
  EXPECT_TRUE(save());
  EXPECT_EQ(store.saves, 1);
}

TEST_F(SaveOffsets, WithoutNeedNothingIsSaved) {
  account.isDue = false;
  EXPECT_TRUE(save());
  EXPECT_EQ(store.saves, 0);
}

TEST_F(SaveOffsets, WhatCouldNotBeKeptIsTriedAgain) {
  store.isFull = true;
  EXPECT_FALSE(save());
  store.isFull = false;
  EXPECT_TRUE(save());
  EXPECT_EQ(store.kept, 7);
}

}  // namespace
}  // namespace Hardware::Linux
