// SNMPv3 notifications through the User-based Security Model (RFC 3414): a trap is checked with
// the keys of its sender's engine, an inform with ours, for which this program is the
// authoritative engine (RFC 3412 7.1, RFC 3414 3.2): it answers engine discovery and messages
// outside its time window with a Report, and an inform with a Response at the inform's own
// security level. A message it cannot authenticate or decrypt gives no values, only the reason.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "settings/profile_store.h"
#include "snmp/usm_user.h"

namespace pages {

struct NotificationRow;

// Sends a datagram to the sender of the one being judged; false when it did not go.
using AnswerFn = std::function<bool(std::span<const std::uint8_t>)>;

// Our engine ID as the profile keeps it ([Notifications] EngineID, hex), so that the senders
// configured with it stay valid; this host's engine ID (snmp::v3::LocalEngineId) until one is
// kept. `keep` writes it there when the profile has none.
snmp::usm::Bytes NotificationEngineId(tvkutil::IProfileStore& profile, bool keep);

class CNotificationUsm {
 public:
  // `users`: who may send; `engine_id`: ours (empty: snmp::v3::LocalEngineId()).
  CNotificationUsm(std::vector<snmp::usm::UserSecurity> users, snmp::usm::Bytes engine_id);

  // One SNMPv3 datagram as a row (version "3", the user in `community`).
  NotificationRow Judge(std::span<const std::uint8_t> bytes, const AnswerFn& answer);

  const snmp::usm::Bytes& EngineId() const { return engine_id_; }
  // snmpEngineBoots and snmpEngineTime (RFC 3414 2.2.2) as this engine reports them.
  std::uint32_t Boots() const { return boots_; }
  std::uint32_t Time() const;

 private:
  struct Keys {
    snmp::usm::Bytes auth;
    snmp::usm::Bytes priv;
    snmp::usm::Bytes priv_other;  // AES-192/256 stretched the other way, for "Automatic"
    bool priv_made = false;
  };
  // The user's keys localised to `engine`; the privacy keys too when `priv`.
  const Keys& KeysFor(const snmp::usm::UserSecurity& user, const snmp::usm::Bytes& engine,
                      bool priv);
  // Encodes and sends a message from our engine: a Report or a Response. `scoped_pdu` is the
  // whole scoped PDU; the user's keys sign and encrypt it when `flags` ask for it.
  bool Send(const std::string& user_name, std::int32_t msg_id, std::uint8_t flags,
            const snmp::usm::UserSecurity* user, const Keys* keys,
            std::span<const std::uint8_t> scoped_pdu, const AnswerFn& answer);
  // A Report-PDU naming usmStats counter `counter` (RFC 3414 3.2).
  bool Report(std::uint32_t counter, std::int32_t msg_id, std::int32_t request_id,
              std::uint8_t flags, const std::string& user_name, const snmp::usm::UserSecurity* user,
              const Keys* keys, const AnswerFn& answer);

  std::vector<snmp::usm::UserSecurity> users_;
  snmp::usm::Bytes engine_id_;
  std::uint32_t boots_;
  std::chrono::steady_clock::time_point started_;
  std::uint64_t salt_;
  std::map<std::uint32_t, std::uint32_t> counters_;  // usmStats, by the counter's last arc
  // A user's password is hashed once and its keys localised once per engine, so a flood of
  // traps costs no password hashing, and forged ones naming new engines only a short hash.
  std::map<std::string, snmp::usm::Bytes> auth_masters_;
  std::map<std::pair<std::string, snmp::usm::Bytes>, Keys> keys_;
};

}  // namespace pages
