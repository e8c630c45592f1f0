// What the fuzzers feed: each takes any bytes, and answers the promise that was broken, or nothing.
// The fuzzers end the process then; the ordinary tests replay the corpus with the same functions.
#pragma once

#include <string>
#include <string_view>

namespace Fuzz {

// The bytes of a table file: read by readers, taken over and changed by a writer.
std::string tryTable(std::string_view bytes);

// Two bytes for the length of a row, then the text of a schema.
std::string trySchema(std::string_view bytes);

// A line of the control socket: a request, or refused.
std::string tryControl(std::string_view bytes);

}  // namespace Fuzz
