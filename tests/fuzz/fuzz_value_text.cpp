// Fuzz target: OID text and value text as a user types them. The first byte picks the value
// type, the rest is the text (UTF-8, malformed sequences read as U+FFFD). Any text builds a
// value, shows as text and tries to encode without a crash; a text that passes the pages' test
// encodes, decodes back and encodes again to the same bytes, and an OID text gives its numbers.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "ops/operation_common.h"
#include "snmp/oid.h"
#include "snmp/snmp_message.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/text.h"

namespace {

using namespace snmp;

constexpr std::uint32_t kTags[] = {kTagInteger32, kTagOctetString, kTagNull,      kTagOid,
                                   kTagIpAddress, kTagCounter32,   kTagGauge32,   kTagTimeTicks,
                                   kTagOpaque,    kTagCounter64,   kTagUnsigned32};

// The value's whole encoding, or nothing when it does not encode.
std::vector<std::uint8_t> Encoded(CASNDataType& value) {
  // As much room as a message has: a long string's UTF-8 takes up to three bytes per character.
  static std::vector<std::uint8_t> buf(kMessageBufferLen);
  CBerWriter out(&buf.back(), static_cast<std::int32_t>(buf.size()));
  if (!value.Encode(out))
    return {};
  const std::uint8_t* const end = buf.data() + buf.size();
  return std::vector<std::uint8_t>(out.Begin(), end);
}

void FuzzOidText(std::wstring_view text) {
  COid oid(text);
  (void)oid.Text();
  if (!snmp::IsValidOidText(text))
    return;
  // One arc per non-empty piece, and the arcs survive the trip through their own text.
  std::size_t pieces = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    pieces += text[i] != L'.' && (i == 0 || text[i - 1] == L'.') ? 1 : 0;
  const auto& arcs = oid.Arcs();
  if (arcs.size() != pieces || !(COid(oid.Text()) == oid))
    std::abort();
  // Every OID the pages accept survives the wire.
  {
    COid back;
    const std::vector<std::uint8_t> bytes = Encoded(oid);
    CBerReader in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    if (bytes.empty() || back.Decode(in) != BerStatus::kOk || !in.Empty() || !(back == oid))
      std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0)
    return 0;
  const std::uint32_t tag = kTags[data[0] % std::size(kTags)];
  const std::wstring text =
      tvkutil::FromUtf8Lenient(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  FuzzOidText(text);

  const auto value = CreateValue(tag, text);
  if (value == nullptr)
    std::abort();  // every tag here has a value class
  std::wstring shown;
  (void)ValueToText(*value, shown);
  const std::vector<std::uint8_t> first = Encoded(*value);
  if (!pages::IsValidValueText(tag, text))
    return 0;
  const auto back = CreateValue(tag);
  CBerReader in(first.data(), static_cast<std::int32_t>(first.size()));
  if (first.empty() || back->Decode(in) != BerStatus::kOk || !in.Empty())
    std::abort();
  if (Encoded(*back) != first)
    std::abort();
  return 0;
}
