// What the fuzzers feed: each takes any bytes, and ends the process when a promise is broken. The
// same functions replay the corpus in the ordinary tests.
#pragma once

#include <string>
#include <string_view>

namespace Fuzz {

// The bytes of a table file: read by readers, taken over and changed by a writer. Empty, or the
// promise that was broken.
std::string tryTable(std::string_view bytes);

// Two bytes for the length of a row, then the text of a schema.
std::string trySchema(std::string_view bytes);

}  // namespace Fuzz
