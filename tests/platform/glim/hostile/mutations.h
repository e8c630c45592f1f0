// What may happen to a table file. Damage is what accidents do, and what somebody does who does not
// know the checksums: nothing wrong may be believed after it. A forgery has checksums that agree:
// it may say anything, but must not take anyone down.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "tests/platform/glim/hostile/table_image.h"

namespace GlimTest {

using Random = std::mt19937_64;

// Does one kind of damage, and answers its name. `earlier` is what the same file once was: parts of
// it may come back.
char const* damage(TableImage& image, std::string const& earlier, Random& random);
char const* forge(TableImage& image, Random& random);

}  // namespace GlimTest
