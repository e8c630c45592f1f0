// All mappings of one file in this process become one, so that a thread which reads a table touches
// the very addresses that the writing thread does: the thread sanitizer tells memory by its
// addresses. It is done at link time (--wrap) to every mapping of the program.
#pragma once

#include <cstddef>

namespace GlimTest {

// Mappings that were answered with one that was there already.
std::size_t sharedMappings();

}  // namespace GlimTest
