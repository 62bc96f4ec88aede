#include "mib/mib_value.h"

#include <cstdio>
#include <iterator>

#include "mib/mib_set.h"
#include "snmp/counter64.h"
#include "snmp/integer32.h"
#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/unsigned32.h"
#include "util/small_vector.h"

namespace mib {

namespace {

// `n` in the hint's base, at least `width` digits, appended: a walk shows many of these.
void AppendUnsigned(std::string& out, std::uint64_t n, char format, std::size_t width = 0) {
  const unsigned base = format == 'x' ? 16 : format == 'o' ? 8 : format == 'b' ? 2 : 10;
  char digits[64];
  char* first = std::end(digits);
  do {
    *--first = "0123456789abcdef"[n % base];
    n /= base;
  } while (n != 0);
  const auto count = static_cast<std::size_t>(std::end(digits) - first);
  if (count < width)
    out.append(width - count, '0');
  out.append(first, count);
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// One part of an octet DISPLAY-HINT (RFC 2579 3.1): repeat, length, format, separator, terminator.
struct HintPart {
  bool repeat = false;  // '*': the first octet counts the repetitions
  std::size_t length = 0;
  char format = 0;
  std::optional<char> separator;
  std::optional<char> terminator;
};

// A hint's parts, kept in place for the usual hints (DateAndTime has ten).
using HintParts = tvkutil::CSmallVector<HintPart, 12>;

bool ReadHintParts(std::string_view hint, HintParts& out) {
  std::size_t i = 0;
  while (i < hint.size()) {
    HintPart part;
    if (hint[i] == '*') {
      part.repeat = true;
      ++i;
    }
    const std::size_t digits = i;
    while (i < hint.size() && IsDigit(hint[i]))
      part.length = part.length * 10 + static_cast<std::size_t>(hint[i++] - '0');
    if (i == digits || i >= hint.size() || part.length > 255)
      return false;
    part.format = hint[i++];
    if (part.format != 'd' && part.format != 'x' && part.format != 'o' && part.format != 'a' &&
        part.format != 't')
      return false;
    // A separator is any character that cannot start the next part.
    if (i < hint.size() && !IsDigit(hint[i]) && hint[i] != '*')
      part.separator = hint[i++];
    if (part.repeat && i < hint.size() && !IsDigit(hint[i]) && hint[i] != '*')
      part.terminator = hint[i++];
    out.emplace_back(part);
  }
  return !out.empty();
}

}  // namespace

std::optional<std::string> OctetsByHint(std::string_view hint,
                                        std::span<const std::uint8_t> octets) {
  HintParts parts;
  if (!ReadHintParts(hint, parts))
    return std::nullopt;
  std::string out;
  std::size_t at = 0;
  // The last part is used again for as long as octets remain.
  for (std::size_t s = 0; at < octets.size(); s = std::min(s + 1, parts.size() - 1)) {
    const HintPart& part = parts[s];
    std::size_t repeats = 1;
    if (part.repeat)
      repeats = octets[at++];
    for (std::size_t r = 0; r < repeats && at < octets.size(); ++r) {
      const std::size_t take = std::min(part.length, octets.size() - at);
      if (part.format == 'a' || part.format == 't') {
        out.append(reinterpret_cast<const char*>(octets.data() + at), take);
      } else {
        std::uint64_t n = 0;
        for (std::size_t k = 0; k < take; ++k)
          n = (n << 8) | octets[at + k];
        AppendUnsigned(out, n, part.format, part.format == 'x' ? 2 * take : 0);
      }
      at += take;
      // No separator after the last octet; a terminator ends the repetitions instead.
      const bool last_repeat = r + 1 == repeats;
      if (at < octets.size() && part.separator && !(last_repeat && part.terminator))
        out += *part.separator;
    }
    if (part.terminator && at < octets.size())
      out += *part.terminator;
  }
  return out;
}

std::optional<std::string> IntegerByHint(std::string_view hint, std::int64_t value) {
  if (hint.empty())
    return std::nullopt;
  const bool negative = value < 0;
  const std::uint64_t magnitude =
      negative ? static_cast<std::uint64_t>(-(value + 1)) + 1 : static_cast<std::uint64_t>(value);
  std::string digits;
  if (hint == "x" || hint == "o" || hint == "b" || hint == "d") {
    AppendUnsigned(digits, magnitude, hint[0]);
  } else if (hint.starts_with("d-") && hint.size() > 2 && hint.size() <= 4) {
    std::size_t places = 0;
    for (char c : hint.substr(2)) {
      if (!IsDigit(c))
        return std::nullopt;
      places = places * 10 + static_cast<std::size_t>(c - '0');
    }
    AppendUnsigned(digits, magnitude, 'd', places + 1);
    if (places > 0)
      digits.insert(digits.size() - places, 1, '.');
  } else {
    return std::nullopt;
  }
  return negative ? "-" + digits : digits;
}

std::optional<std::string> ValueText(const MibNode& node, const snmp::CASNDataType& value) {
  std::optional<std::int64_t> number;
  switch (value.Tag()) {
    case snmp::kTagInteger32:
      number = static_cast<const snmp::CInteger32&>(value).Value();
      break;
    case snmp::kTagCounter32:
    case snmp::kTagGauge32:
    case snmp::kTagUnsigned32:
      number = static_cast<const snmp::CUnsigned32&>(value).Value();
      break;
    case snmp::kTagCounter64: {
      const std::uint64_t n = static_cast<const snmp::CCounter64&>(value).Value();
      if (n <= static_cast<std::uint64_t>(INT64_MAX))
        number = static_cast<std::int64_t>(n);
      break;
    }
    case snmp::kTagOctetString: {
      const auto octets = static_cast<const snmp::COctetString&>(value).Bytes();
      if (node.syntax == "BITS") {
        std::string out;
        for (const auto& [bit, label] : node.enums) {
          const auto byte = static_cast<std::size_t>(bit / 8);
          if (bit >= 0 && byte < octets.size() && (octets[byte] & (0x80u >> (bit % 8))) != 0)
            out += (out.empty() ? "" : " ") + label + "(" + std::to_string(bit) + ")";
        }
        return out;
      }
      // Text hints ("255a", "255t") read as the value's own text does.
      if (node.display_hint.empty() ||
          node.display_hint.find_first_not_of("0123456789at") == std::string::npos)
        return std::nullopt;
      return OctetsByHint(node.display_hint, octets);
    }
    default:
      return std::nullopt;
  }
  if (!number)
    return std::nullopt;
  for (const auto& [n, label] : node.enums) {
    if (n == *number)
      return label + "(" + std::to_string(n) + ")";
  }
  std::optional<std::string> text = IntegerByHint(node.display_hint, *number);
  if (node.units.empty())
    return text;
  return text.value_or(std::to_string(*number)) + " " + node.units;
}

std::optional<std::string> NamedValueText(const snmp::CASNDataType& value, const MibNode* node) {
  if (value.Tag() == snmp::kTagOid) {
    const auto& arcs = static_cast<const snmp::COid&>(value).Arcs();
    std::string name =
        CMibSet::Builtin().NameOf(std::span<const std::uint32_t>(arcs.data(), arcs.size()));
    return name.empty() ? std::nullopt : std::optional<std::string>(std::move(name));
  }
  return node != nullptr ? ValueText(*node, value) : std::nullopt;
}

std::optional<std::string> NamedValueText(const snmp::CVarBind& bind) {
  if (bind.Value() == nullptr || bind.Name() == nullptr)
    return std::nullopt;
  const auto& arcs = bind.Name()->Arcs();
  return NamedValueText(
      *bind.Value(),
      CMibSet::Builtin().Match(std::span<const std::uint32_t>(arcs.data(), arcs.size())).node);
}

}  // namespace mib
