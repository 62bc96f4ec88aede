// Who an SNMPv3 request speaks as: the user, the security level and what each level needs
// (RFC 3414), and the context (RFC 3412). The pages and sondara-cli fill it; the requester
// uses it. Passwords live here only in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "snmp/usm_crypto.h"

namespace snmp::usm {

enum class SecurityLevel : std::uint8_t { kNoAuthNoPriv, kAuthNoPriv, kAuthPriv };

// How AES-192/256 keys are stretched: one way, or the Blumenthal way first and the Reeder way
// when the agent cannot decrypt that.
enum class KeyExtensionChoice : std::uint8_t { kBlumenthal, kReeder, kAutomatic };

struct UserSecurity {
  std::string user_name;  // UTF-8, as it goes on the wire
  SecurityLevel level = SecurityLevel::kNoAuthNoPriv;
  AuthProtocol auth = AuthProtocol::kNone;
  std::string auth_password;
  PrivProtocol priv = PrivProtocol::kNone;
  KeyExtensionChoice extension = KeyExtensionChoice::kAutomatic;
  std::string priv_password;
  std::string context_name;
  Bytes context_engine_id;  // empty: the agent's own engine ID
};

}  // namespace snmp::usm
