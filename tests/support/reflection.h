// What an object declares, by name.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/kel/exceptions.h"
#include "platform/kel/type_node.h"
#include "tests/support/call_log.h"

namespace Support {

// The attributes of a type, in their order.
inline Calls names(Kel::TypeNode const& type) {
  Calls all;
  for (auto const& a : type.attributes()) all.emplace_back(a.name);
  return all;
}

// Every attribute answers exactly what its kind offers.
inline void expectEveryAttributeAnswers(Kel::PtrInterface& object) {
  using Kind = Kel::AttributeKind;
  for (auto const& a : object.fwkType()->attributes()) {
    SCOPED_TRACE(std::string(a.name));
    bool const operation = a.kind == Kind::operation, collection = a.kind == Kind::collection;
    if (operation || collection) {
      EXPECT_THROW(Kel::read(object, a.name), Kel::OpNotSupportedException);
    } else {
      EXPECT_NO_THROW(Kel::read(object, a.name));
    }
    if (a.set) {
      EXPECT_NO_THROW(Kel::set(object, a.name, Kel::read(object, a.name)));
    } else {
      EXPECT_THROW(Kel::set(object, a.name, "1"), Kel::OpNotSupportedException);
    }
    if (!operation) {
      EXPECT_THROW(Kel::invoke(object, a.name), Kel::OpNotSupportedException);
    }
    if (collection) {
      EXPECT_NO_THROW(Kel::iterKey(object, a.name));
    } else {
      EXPECT_THROW(Kel::iterKey(object, a.name), Kel::OpNotSupportedException);
    }
  }
}

}  // namespace Support
