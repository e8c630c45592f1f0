// What is wrong with the header of a table file, in words: for people who look into damage. Whether
// a file is a table is decided by header_copy.h.
#pragma once

#include <string>
#include <vector>

namespace Glim {

// One line for each thing that is wrong with the fixed words, the schema text and the file's size;
// none when all is as it should be.
std::vector<std::string> headerProblems(int fd);

}  // namespace Glim
