#include "ops/usm_fields.h"

#include "ops/operation_common.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

using snmp::usm::AuthProtocol;
using snmp::usm::KeyExtensionChoice;
using snmp::usm::PrivProtocol;
using snmp::usm::SecurityLevel;

// The place of `name` in `names` (without regard to case); -1 when it is none of them.
template <std::size_t N>
int IndexOf(std::wstring_view name, const wchar_t* const (&names)[N]) {
  for (std::size_t i = 0; i < N; ++i) {
    if (tvkutil::EqualsNoCase(name, names[i]))
      return static_cast<int>(i);
  }
  return -1;
}

SecurityLevel LevelOf(const app::UsmSettings& usm) {
  switch (IndexOf(usm.level, app::kSecurityLevelNames)) {
    case 1:
      return SecurityLevel::kAuthNoPriv;
    case 2:
      return SecurityLevel::kAuthPriv;
    default:
      return SecurityLevel::kNoAuthNoPriv;
  }
}

}  // namespace

UsmFieldsInUse FieldsInUse(const app::UsmSettings& usm) {
  const SecurityLevel level = LevelOf(usm);
  UsmFieldsInUse in_use;
  in_use.auth = level != SecurityLevel::kNoAuthNoPriv;
  in_use.priv = level == SecurityLevel::kAuthPriv;
  // The two ways differ only where the hash is shorter than the AES key.
  in_use.extension = in_use.priv && IndexOf(usm.priv_protocol, app::kPrivProtocolNames) >= 2;
  return in_use;
}

std::optional<snmp::usm::Bytes> ReadHexBytes(std::wstring_view text) {
  if (text.size() >= 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X'))
    text.remove_prefix(2);
  snmp::usm::Bytes bytes;
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] == L' ' || text[i] == L':') {
      ++i;
      continue;
    }
    const int high = tvkutil::HexDigitValue(text[i]);
    const int low = i + 1 < text.size() ? tvkutil::HexDigitValue(text[i + 1]) : -1;
    if (high < 0 || low < 0)
      return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    i += 2;
  }
  return bytes;
}

bool CheckUsmFields(app::IOperationUi& ui, const app::UsmSettings& usm, const UsmFieldIds& ids) {
  using namespace tvkutil::ids;
  if (usm.user_name.empty())
    return Refuse(ui, kEnterUsmUserName, ids.user_name);
  const UsmFieldsInUse in_use = FieldsInUse(usm);
  if (in_use.auth && usm.auth_password.size() < kMinUsmPasswordLen)
    return Refuse(ui, kUsmAuthPasswordTooShort, ids.auth_password);
  if (in_use.priv && usm.priv_password.size() < kMinUsmPasswordLen)
    return Refuse(ui, kUsmPrivPasswordTooShort, ids.priv_password);
  if (!usm.context_engine_id.empty()) {
    const std::optional<snmp::usm::Bytes> id = ReadHexBytes(usm.context_engine_id);
    if (!id || id->size() < kMinEngineIdLen || id->size() > kMaxEngineIdLen)
      return Refuse(ui, kEnterValidContextEngineId, ids.context_engine_id);
  }
  return true;
}

snmp::usm::UserSecurity UserSecurityOf(const app::UsmSettings& usm) {
  snmp::usm::UserSecurity user;
  user.user_name = tvkutil::ToUtf8(usm.user_name);
  user.level = LevelOf(usm);
  const UsmFieldsInUse in_use = FieldsInUse(usm);
  if (in_use.auth) {
    // The lists are in the enums' order after their kNone.
    const int auth = IndexOf(usm.auth_protocol, app::kAuthProtocolNames);
    user.auth = static_cast<AuthProtocol>(auth < 0 ? 1 : auth + 1);
    user.auth_password = tvkutil::ToUtf8(usm.auth_password);
  }
  if (in_use.priv) {
    const int priv = IndexOf(usm.priv_protocol, app::kPrivProtocolNames);
    user.priv = static_cast<PrivProtocol>(priv < 0 ? 1 : priv + 1);
    user.priv_password = tvkutil::ToUtf8(usm.priv_password);
  }
  switch (IndexOf(usm.key_extension, app::kKeyExtensionNames)) {
    case 1:
      user.extension = KeyExtensionChoice::kBlumenthal;
      break;
    case 2:
      user.extension = KeyExtensionChoice::kReeder;
      break;
    default:
      user.extension = KeyExtensionChoice::kAutomatic;
      break;
  }
  user.context_name = tvkutil::ToUtf8(usm.context_name);
  user.context_engine_id = ReadHexBytes(usm.context_engine_id).value_or(snmp::usm::Bytes{});
  return user;
}

}  // namespace pages
