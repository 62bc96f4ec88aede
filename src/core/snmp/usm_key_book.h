// The privacy keys this run has localised, by engine and user, so that the decoded message view
// can show the scoped PDU of what was sent and received with them. In memory only, like the
// passwords they come from; gone at exit.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "snmp/message_tree.h"
#include "snmp/usm_crypto.h"

namespace snmp::usm {

// Keeps `key` for messages of `user` with engine `engine_id`. Any thread.
void RememberPrivacyKey(std::span<const std::uint8_t> engine_id, std::string_view user,
                        PrivProtocol priv, std::span<const std::uint8_t> key);

// The scoped PDU of `pdu`, decrypted with a key remembered for its engine and user, the latest
// first; nothing when none gives a whole scoped PDU (a wrong key decrypts to noise). Any thread.
std::optional<Bytes> DecryptWithRememberedKey(const EncryptedScopedPdu& pdu);

}  // namespace snmp::usm
