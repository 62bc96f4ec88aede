// The network adapters the Options offer, read once per run from the system.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace net {

// One adapter address as offered in the Options. The empty record stands for "Default": no
// particular interface (bind to any address, scope 0).
struct _adapterinfo {
  std::wstring display_name;  // "eth0[192.168.1.5]"; long names cut, see MakeAdapterInfo
  std::wstring address;       // numeric address text, IPv6 link-local with "%<index>"
  int is_ipv4 = 0;
  std::uint32_t ipv4_address = 0;   // network byte order; all ones in IPv6 records
  std::uint32_t ipv6_scope_id = 0;  // interface index; all ones in IPv4 records

  bool IsDefault() const { return display_name.empty(); }
};

// Longest description shown whole; a longer one keeps its first 17 characters plus "...".
inline constexpr std::size_t kMaxAdapterDescriptionLen = 20;
inline constexpr std::size_t kCutAdapterDescriptionLen = 17;

// Builds a record from an adapter's description (on Linux its interface name) and address.
_adapterinfo MakeAdapterInfo(std::wstring_view description, const std::wstring& address,
                             bool is_ipv4, std::uint32_t ipv6_scope_id);

class CAdapterTable {
 public:
  // The table of this run; the system is asked on the first lookup, never again.
  static CAdapterTable& Instance();

  // A table over given records, for tests and for callers that enumerate themselves.
  CAdapterTable(std::vector<_adapterinfo> ipv4, std::vector<_adapterinfo> ipv6);

  // The record whose display name equals the text; else the first whose address equals what
  // stands between "[" and "]" in the text (so a renamed adapter is still found); else the
  // empty record.
  _adapterinfo Lookup(const std::wstring& display_text, bool use_ipv6);

  const std::vector<_adapterinfo>& IPv4Adapters();
  const std::vector<_adapterinfo>& IPv6Adapters();

  // Reads the system's interfaces: every address of every interface that is not loopback.
  static void Enumerate(std::vector<_adapterinfo>& out_ipv4, std::vector<_adapterinfo>& out_ipv6);

 private:
  CAdapterTable() = default;
  void EnsureFilled();

  std::once_flag filled_;
  bool from_system_ = true;
  std::vector<_adapterinfo> ipv4_;
  std::vector<_adapterinfo> ipv6_;
};

}  // namespace net
