// Faults that the sanitizers must see: broken_variants FAULT.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/glim/row_slot.h"

namespace {

using Glim::RowSlot;
using Glim::Word;

constexpr Word words = 24;
constexpr Word slotWords = 1 + 2 * (1 + words);

// As readSlot, but copies the row as if nobody were writing it.
bool readPlainly(Word const* at, Word* row) {
  Word const before = Glim::Words::loadAcquire(at);
  Word const k = before / 2;
  if (k == 0) return false;
  Word const* const half = at + 1 + (k & 1) * (1 + words);
  for (Word i = 0; i < words; ++i) row[i] = half[1 + i];
  return Glim::Words::loadAcquire(at) - 2 * k <= 2;
}

bool readRightly(Word const* at, Word* row) {
  return Glim::readSlot(at, words, 0, row, 64) == Glim::Answer::ok;
}

// Two threads on one slot; whether every row that was read was whole.
bool readWhileWriting(bool (*read)(Word const*, Word*)) {
  std::vector<Word> memory(slotWords);
  std::jthread const writer([&memory] {
    RowSlot slot(memory.data(), words, 0);
    for (Word k = 0; k < 200'000; ++k) slot.publish(k, std::vector<Word>(words, k + 1).data());
  });
  std::vector<Word> row(words);
  while (row[0] < 200'000) {
    if (read(memory.data(), row.data()) && row != std::vector<Word>(words, row[0])) return false;
  }
  return true;
}

int readIntoTooLittle() {
  std::vector<Word> memory(slotWords);
  RowSlot(memory.data(), words, 0).publish(0, std::vector<Word>(words, 1).data());
  auto const row = std::make_unique<Word[]>(words - 1);
  return Glim::readSlot(memory.data(), words, 0, row.get(), 1) == Glim::Answer::ok ? 0 : 1;
}

int readBesideTheWords() {
  std::vector<Word> memory(slotWords + 1);
  auto* const crooked = reinterpret_cast<std::byte*>(memory.data()) + 1;
  RowSlot slot(reinterpret_cast<Word*>(crooked), words, 0);
  slot.publish(0, std::vector<Word>(words, 1).data());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string_view const fault = argc == 2 ? argv[1] : "";
  if (fault == "plain-reader") return readWhileWriting(readPlainly) ? 0 : 1;
  if (fault == "right-reader") {
    if (!readWhileWriting(readRightly)) return 1;
    std::puts("read whole rows");
    return 0;
  }
  if (fault == "short-row") return readIntoTooLittle();
  if (fault == "crooked-slot") return readBesideTheWords();
  std::fputs("broken_variants: plain-reader, right-reader, short-row or crooked-slot\n", stderr);
  return 2;
}
