// Holds a record's schema against the text that was published with it. Whoever changes a record
// meets this first: agents in the field have tables of the text as it stands in the file.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "platform/glim/layout.h"
#include "platform/glim/migration.h"
#include "platform/glim/row_shape.h"

namespace Support {

// The file in the folder has the record's name, with .schema behind it.
template <class Record>
void expectPublishedSchema(std::string const& folder) {
  Glim::RowShape const& shape = Glim::rowShape<Record>();
  std::string const name(Glim::RecordTraits<Record>::name);
  std::string const path = folder + "/" + name + ".schema";
  std::ifstream file(path);
  ASSERT_TRUE(file) << path;
  std::string const published((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(shape.schema, published)
      << "The rows of agents in the field have the published schema. List its text among the "
         "record's formerSchemas, which carries those rows over, and then write today's to "
      << path;
  for (std::string_view const former : shape.formerSchemas) {
    EXPECT_TRUE(Glim::Migration::plan(former, Glim::Layout::rowWordsLimit * 8, shape)) << former;
  }
}

// Names the suites of a typed test in its output, by the record.
class RecordNames {
 public:
  template <class Record>
  static std::string GetName(int) {
    return std::string(Glim::RecordTraits<Record>::name);
  }
};

}  // namespace Support
