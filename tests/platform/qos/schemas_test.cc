#include "platform/qos/copp_class_counter.h"
#include "tests/support/published_schema.h"

namespace {

TEST(PublishedClassSchema, IsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<Qos::CoppClassCounter>(ORU_SOURCE_DIR
                                                        "/tests/platform/qos/schemas");
}

}  // namespace
