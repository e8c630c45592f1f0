#include "platform/glim/row_print.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Glim {
namespace {

struct EveryType {
  std::uint64_t u64 = 18446744073709551615u;
  std::uint64_t u63[2] = {7, std::uint64_t{1} << 63};
  double f64 = 0.5;
  std::uint32_t u32 = 4294967295;
  std::uint16_t u16 = 65535;
  std::uint8_t u8[2] = {0, 255};
  char text[8] = {'f', 'u', 'l', 'l', 't', 'e', 'x', 't'};
};
constexpr std::array kEveryType{
    Field{"u64", FieldType::u64, offsetof(EveryType, u64)},
    Field{"u63", FieldType::u63, offsetof(EveryType, u63), 2},
    Field{"f64", FieldType::f64, offsetof(EveryType, f64)},
    Field{"u32", FieldType::u32, offsetof(EveryType, u32)},
    Field{"u16", FieldType::u16, offsetof(EveryType, u16)},
    Field{"u8", FieldType::u8, offsetof(EveryType, u8), 2},
    Field{"text", FieldType::text, offsetof(EveryType, text), 8},
};

TEST(GlimRowText, PrintsFieldsOfEveryType) {
  EveryType const row;
  EXPECT_EQ(rowText(kEveryType, &row),
            "u64 18446744073709551615 u63 7,n/a f64 0.5 u32 4294967295 u16 65535 u8 0,255 "
            "text fulltext");
}

}  // namespace
}  // namespace Glim
