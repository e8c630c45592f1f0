#include "platform/pekt/intf_id.h"

#include <algorithm>
#include <charconv>

namespace Pekt {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Takes a number without leading zeros off the front of `text`.
bool takeNumber(std::string_view& text, std::uint32_t& number) {
  if (text.empty() || !isDigit(text[0])) return false;
  if (text[0] == '0' && text.size() > 1 && isDigit(text[1])) return false;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Takes a run of digits off the front, without its leading zeros.
std::string_view takeDigits(std::string_view& text) {
  std::size_t const length =
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
  std::string_view digits = text.substr(0, length);
  text.remove_prefix(length);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

}  // namespace

bool IntfId::operator<(IntfId const& other) const {
  std::string_view a = view(), b = other.view();
  while (!a.empty() && !b.empty()) {
    if (isDigit(a[0]) && isDigit(b[0])) {
      std::string_view const na = takeDigits(a), nb = takeDigits(b);
      if (na.size() != nb.size()) return na.size() < nb.size();
      if (na != nb) return na < nb;
    } else {
      if (a[0] != b[0]) return a[0] < b[0];
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() != b.empty()) return a.empty();
  return view() < other.view();  // "1" and "01" are different names
}

bool EthIntfId::isEthIntfId(IntfId const& id) {
  std::string_view text = id.view();
  std::uint32_t number = 0;
  if (!takePrefix(text, "Ethernet") || !takeNumber(text, number)) return false;
  for (int level = 1; level < 3 && !text.empty(); ++level)
    if (!takePrefix(text, "/") || !takeNumber(text, number)) return false;
  return text.empty();
}

bool VlanIntfId::isVlanIntfId(IntfId const& id) { return vlanId(id) != 0; }

std::uint16_t VlanIntfId::vlanId(IntfId const& id) {
  std::string_view text = id.view();
  std::uint32_t number = 0;
  if (!takePrefix(text, "Vlan") || !takeNumber(text, number) || !text.empty()) return 0;
  return number >= 1 && number <= 4094 ? static_cast<std::uint16_t>(number) : 0;
}

bool CpuIntfId::isCpuIntfId(IntfId const& id) { return id.view().starts_with("Cpu"); }

}  // namespace Pekt
