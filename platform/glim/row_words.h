// Copies of a row that yield its checksum in the same pass, at close to memory speed.
//
// The checksum. Words are taken in blocks of eight, the last one filled up with zeros; each of the
// eight lanes holds two sums, a and b. For each block: a += word; b = rotl(b, 23) + a. At the end
// the lanes are folded into one word, each under a weight of its own. A change of a single word
// always changes its lane's a; moved, swapped or cancelling changes show in b, or by the weights.
//
// The seed ties a row to its slot, its version and its state, so that a row that turns up
// elsewhere, or an old half in place of a new one, does not pass.
#pragma once

#include <cstddef>

#include "platform/glim/atomic_words.h"

namespace Glim::RowWords {

// All four return the checksum of the `words` words at the source. Private memory is `void`, shared
// memory is `Word`.
Word checksum(void const* row, std::size_t words, Word seed);
// The writer's row into the file.
Word store(Word* shared, void const* row, std::size_t words, Word seed);
// A row of the file for a reader: the writer may be changing it meanwhile.
Word load(void* row, Word const* shared, std::size_t words, Word seed);
// A row of the file for its own writer: nobody else changes it.
Word copyOwn(void* row, Word const* shared, std::size_t words, Word seed);

}  // namespace Glim::RowWords
