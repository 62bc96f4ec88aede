// The SNMPv3 fields every SNMP page has (user, level, protocols and passwords, context): which
// of them the chosen level uses, their checks, and the user they make for a typed request.
#pragma once

#include <optional>
#include <string_view>

#include "ops/operation_ui.h"
#include "settings/settings.h"
#include "snmp/usm_user.h"

namespace pages {

// RFC 3414 11.2: shorter passwords make keys that are easily guessed.
inline constexpr std::size_t kMinUsmPasswordLen = 8;
// An snmpEngineID is 5 to 32 octets (RFC 3411 5, SnmpEngineID).
inline constexpr std::size_t kMinEngineIdLen = 5;
inline constexpr std::size_t kMaxEngineIdLen = 32;

// The fields the level and the privacy protocol give a meaning to; the others are disabled.
struct UsmFieldsInUse {
  bool auth = false;       // authentication protocol and password
  bool priv = false;       // privacy protocol and password
  bool extension = false;  // key extension: AES-192/256 with privacy only
};
UsmFieldsInUse FieldsInUse(const app::UsmSettings& usm);

// The page's field numbers for the fields a check can refuse.
struct UsmFieldIds {
  int user_name;
  int auth_password;
  int priv_password;
  int context_engine_id;
};

// The checks of the v3 fields, in the page's order: a user name, an authentication password of
// at least 8 characters when the level authenticates, a privacy password likewise when it
// encrypts, and a context engine ID of 5 to 32 bytes in hex when one is given. The first
// failure is shown with its field; false then.
bool CheckUsmFields(app::IOperationUi& ui, const app::UsmSettings& usm, const UsmFieldIds& ids);

// Hex digits in pairs, "0x" in front and blanks or colons between pairs allowed ("80 00 1f 88",
// "0x80001f88"); nothing for anything else.
std::optional<snmp::usm::Bytes> ReadHexBytes(std::wstring_view text);

// The user a request speaks as, from fields that passed CheckUsmFields. Protocols the level does
// not use are left at kNone and their passwords empty.
snmp::usm::UserSecurity UserSecurityOf(const app::UsmSettings& usm);

}  // namespace pages
