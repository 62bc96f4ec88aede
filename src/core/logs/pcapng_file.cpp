#include "logs/pcapng_file.h"

#include <netinet/in.h>

#include <algorithm>
#include <string_view>

#include "util/file_replace.h"
#include "util/text.h"

namespace logs {

namespace {

constexpr std::uint32_t kSectionHeaderBlock = 0x0A0D0D0A;
constexpr std::uint32_t kInterfaceBlock = 1;
constexpr std::uint32_t kEnhancedPacketBlock = 6;
constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;

constexpr std::uint16_t kOptEnd = 0;
constexpr std::uint16_t kOptComment = 1;
constexpr std::uint16_t kShbUserApplication = 4;
constexpr std::uint16_t kIfName = 2;
constexpr std::uint16_t kIfTsResolution = 9;
constexpr std::uint16_t kEpbFlags = 2;
// Direction bits of epb_flags.
constexpr std::uint32_t kFlagInbound = 1;
constexpr std::uint32_t kFlagOutbound = 2;

constexpr std::size_t kIPv4HeaderLen = 20;
constexpr std::size_t kIPv6HeaderLen = 40;
constexpr std::size_t kUdpHeaderLen = 8;
constexpr std::size_t kMaxIpLength = 0xFFFF;
constexpr std::uint8_t kProtocolUdp = 17;
constexpr std::uint8_t kHopLimit = 64;

// pcapng blocks are written in our own (little-endian) order, which the magic number declares.
void Le16(std::string& out, std::uint16_t v) {
  out.push_back(static_cast<char>(v));
  out.push_back(static_cast<char>(v >> 8));
}
void Le32(std::string& out, std::uint32_t v) {
  Le16(out, static_cast<std::uint16_t>(v));
  Le16(out, static_cast<std::uint16_t>(v >> 16));
}
// IP and UDP headers are in network order.
void Be16(std::string& out, std::uint16_t v) {
  out.push_back(static_cast<char>(v >> 8));
  out.push_back(static_cast<char>(v));
}

void PadTo32Bits(std::string& out) {
  while (out.size() % 4 != 0)
    out.push_back('\0');
}

void Option(std::string& out, std::uint16_t code, std::string_view value) {
  Le16(out, code);
  Le16(out, static_cast<std::uint16_t>(value.size()));
  out.append(value);
  PadTo32Bits(out);
}

void EndOfOptions(std::string& out) {
  Le16(out, kOptEnd);
  Le16(out, 0);
}

// Starts a block at the end of `out`; Close fills in its total length at both ends.
std::size_t OpenBlock(std::string& out, std::uint32_t type) {
  const std::size_t start = out.size();
  Le32(out, type);
  Le32(out, 0);
  return start;
}
void CloseBlock(std::string& out, std::size_t start) {
  const auto total = static_cast<std::uint32_t>(out.size() - start + 4);
  Le32(out, total);
  for (int i = 0; i < 4; ++i)
    out[start + 4 + static_cast<std::size_t>(i)] = static_cast<char>(total >> (8 * i));
}

// The one's complement sum of RFC 768 over the pseudo header, the UDP header and the payload.
std::uint16_t UdpChecksum(std::string_view pseudo, std::string_view udp) {
  std::uint32_t sum = 0;
  for (std::string_view part : {pseudo, udp}) {
    for (std::size_t i = 0; i < part.size(); i += 2) {
      const auto hi = static_cast<std::uint8_t>(part[i]);
      const auto lo = i + 1 < part.size() ? static_cast<std::uint8_t>(part[i + 1]) : 0u;
      sum += (static_cast<std::uint32_t>(hi) << 8) | lo;
    }
  }
  while (sum > 0xFFFF)
    sum = (sum & 0xFFFF) + (sum >> 16);
  const auto checksum = static_cast<std::uint16_t>(~sum);
  return checksum == 0 ? 0xFFFF : checksum;  // 0 would mean "no checksum"
}

std::uint16_t HeaderChecksum(std::string_view header) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i + 1 < header.size(); i += 2)
    sum += (static_cast<std::uint32_t>(static_cast<std::uint8_t>(header[i])) << 8) |
           static_cast<std::uint8_t>(header[i + 1]);
  while (sum > 0xFFFF)
    sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum);
}

std::string_view AddressBytes(const DatagramEnd& end, std::size_t len) {
  return {reinterpret_cast<const char*>(end.address.data()), len};
}

}  // namespace

void AppendPcapngHeader(std::string& out) {
  std::size_t block = OpenBlock(out, kSectionHeaderBlock);
  Le32(out, kByteOrderMagic);
  Le16(out, 1);  // version 1.0
  Le16(out, 0);
  Le32(out, 0xFFFFFFFF);  // section length not given
  Le32(out, 0xFFFFFFFF);
  Option(out, kShbUserApplication, "Sondara Utility " SONDARA_VERSION);
  EndOfOptions(out);
  CloseBlock(out, block);

  block = OpenBlock(out, kInterfaceBlock);
  Le16(out, kLinkTypeRawIp);
  Le16(out, 0);
  Le32(out, 0);  // no snapshot limit
  Option(out, kIfName, "sondara");
  Option(out, kIfTsResolution, std::string_view("\x06", 1));  // microseconds
  EndOfOptions(out);
  CloseBlock(out, block);
}

std::string IpPacketOf(const KeptDatagram& d) {
  const bool sent = d.direction != kDirectionReceived;
  const bool v6 = d.remote.family == AF_INET6;
  const std::uint16_t family = v6 ? AF_INET6 : AF_INET;
  // Our end of an unknown family stays all zeros rather than mixing the two families.
  const DatagramEnd local = d.local.family == family ? d.local : DatagramEnd{};
  const DatagramEnd& src = sent ? local : d.remote;
  const DatagramEnd& dst = sent ? d.remote : local;
  const std::size_t ip_header = v6 ? kIPv6HeaderLen : kIPv4HeaderLen;
  const std::size_t payload_len =
      std::min(d.bytes.size(), kMaxIpLength - kUdpHeaderLen - (v6 ? 0 : kIPv4HeaderLen));
  const auto udp_len = static_cast<std::uint16_t>(kUdpHeaderLen + payload_len);
  const std::size_t address_len = v6 ? 16 : 4;

  std::string udp;
  udp.reserve(kUdpHeaderLen + payload_len);
  Be16(udp, src.port);
  Be16(udp, dst.port);
  Be16(udp, udp_len);
  Be16(udp, 0);  // checksum, below
  udp.append(reinterpret_cast<const char*>(d.bytes.data()), payload_len);

  std::string pseudo;
  pseudo.append(AddressBytes(src, address_len)).append(AddressBytes(dst, address_len));
  if (v6) {
    Be16(pseudo, 0);
    Be16(pseudo, udp_len);
    pseudo.append(3, '\0');
    pseudo.push_back(static_cast<char>(kProtocolUdp));
  } else {
    pseudo.push_back('\0');
    pseudo.push_back(static_cast<char>(kProtocolUdp));
    Be16(pseudo, udp_len);
  }
  const std::uint16_t checksum = UdpChecksum(pseudo, udp);
  udp[6] = static_cast<char>(checksum >> 8);
  udp[7] = static_cast<char>(checksum);

  std::string packet;
  packet.reserve(ip_header + udp.size());
  if (v6) {
    packet.append({'\x60', '\0', '\0', '\0'});  // version 6, no traffic class or flow label
    Be16(packet, udp_len);
    packet.push_back(static_cast<char>(kProtocolUdp));
    packet.push_back(static_cast<char>(kHopLimit));
  } else {
    packet.push_back('\x45');  // version 4, five words of header
    packet.push_back('\0');
    Be16(packet, static_cast<std::uint16_t>(kIPv4HeaderLen + udp_len));
    Be16(packet, static_cast<std::uint16_t>(d.number));  // identification
    Be16(packet, 0x4000);                                // don't fragment
    packet.push_back(static_cast<char>(kHopLimit));
    packet.push_back(static_cast<char>(kProtocolUdp));
    Be16(packet, 0);  // header checksum, below
  }
  packet.append(AddressBytes(src, address_len)).append(AddressBytes(dst, address_len));
  if (!v6) {
    const std::uint16_t checksum4 = HeaderChecksum(packet);
    packet[10] = static_cast<char>(checksum4 >> 8);
    packet[11] = static_cast<char>(checksum4);
  }
  packet.append(udp);
  return packet;
}

void AppendPcapngPacket(std::string& out, const KeptDatagram& d) {
  const std::string packet = IpPacketOf(d);
  const std::uint64_t stamp = d.time_us < 0 ? 0 : static_cast<std::uint64_t>(d.time_us);
  const std::size_t block = OpenBlock(out, kEnhancedPacketBlock);
  Le32(out, 0);  // the one interface
  Le32(out, static_cast<std::uint32_t>(stamp >> 32));
  Le32(out, static_cast<std::uint32_t>(stamp));
  Le32(out, static_cast<std::uint32_t>(packet.size()));
  Le32(out, static_cast<std::uint32_t>(packet.size()));
  out.append(packet);
  PadTo32Bits(out);
  // The operation that exchanged it, as the log's source column names it.
  if (d.source != nullptr && !d.source->empty())
    Option(out, kOptComment, tvkutil::ToUtf8(*d.source));
  std::string flags;
  Le32(flags, d.direction == kDirectionReceived ? kFlagInbound
              : d.direction == kDirectionSent   ? kFlagOutbound
                                                : 0);
  Option(out, kEpbFlags, flags);
  EndOfOptions(out);
  CloseBlock(out, block);
}

std::error_code WritePcapngFile(const std::filesystem::path& path,
                                const std::vector<std::shared_ptr<const KeptDatagram>>& datagrams) {
  tvkutil::CReplacingFile file;
  if (const std::error_code failed = file.Open(path))
    return failed;
  std::string chunk;
  AppendPcapngHeader(chunk);
  for (const auto& d : datagrams) {
    AppendPcapngPacket(chunk, *d);
    // Written in pieces of about a megabyte: 64 MB of datagrams need not be doubled in memory.
    if (chunk.size() >= (1u << 20)) {
      file.Write(chunk);
      chunk.clear();
    }
  }
  file.Write(chunk);
  return file.Commit();
}

}  // namespace logs
