#include "platform/dov/exception.h"

#include <gtest/gtest.h>

#include <exception>

namespace Dov {
namespace {

TEST(DovException, MsgIsTheTypeAndTheQuotedMessage) {
  NoPermissionException const sut("write to read-only Glim table");
  EXPECT_EQ(sut.msg(), "Dov::NoPermissionException(\"write to read-only Glim table\")");
  EXPECT_EQ(sut.message(), "write to read-only Glim table");
  EXPECT_STREQ(sut.what(), sut.msg().c_str());
}

TEST(DovException, ThrowExceptionThrowsItsOwnType) {
  EXPECT_THROW(CorruptionDetectedException::throwException("x"), CorruptionDetectedException);
  EXPECT_THROW(InvalidSizeException::throwException("x"), InvalidSizeException);
  EXPECT_THROW(NoPermissionException::throwException("x"), NoPermissionException);
  EXPECT_THROW(UnimplementedException::throwException("x"), UnimplementedException);
  EXPECT_THROW(ResourceException::throwException("x"), ResourceException);
  EXPECT_THROW(AssertException::throwException("x"), AssertException);
}

TEST(DovException, AllAreOfOneFamily) {
  EXPECT_THROW(AssertException::throwException("x"), Exception);
  EXPECT_THROW(AssertException::throwException("x"), std::exception);
}

}  // namespace
}  // namespace Dov
