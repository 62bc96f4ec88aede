// Kept datagrams as a pcapng capture file, the format packet analysers read: one section, one
// interface of link type raw IP, and one enhanced packet block per datagram holding an IPv4 or
// IPv6 header and a UDP header made from the kept addresses and ports, the kept time stamp in
// microseconds, and the direction in the packet's flags (inbound for received, outbound for
// sent). No Qt here: the window's export uses it, and a command-line front end can write the
// same file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "logs/datagram_store.h"

namespace logs {

// Link type of the interface: raw IPv4 or IPv6 packets, told apart by their version field.
inline constexpr std::uint16_t kLinkTypeRawIp = 101;

// The section header and interface description blocks that start every file.
void AppendPcapngHeader(std::string& out);
// One enhanced packet block.
void AppendPcapngPacket(std::string& out, const KeptDatagram& datagram);

// The IP packet (IP header, UDP header, payload) a datagram went out or came in as. The payload
// is cut where the IP and UDP length fields end (65,507 bytes over IPv4, 65,527 over IPv6).
std::string IpPacketOf(const KeptDatagram& datagram);

// Replaces the file with the header and every datagram in the order given, in one step (see
// tvkutil::ReplaceFile); the system's reason when it cannot be written.
[[nodiscard]] std::error_code WritePcapngFile(
    const std::filesystem::path& path,
    const std::vector<std::shared_ptr<const KeptDatagram>>& datagrams);

}  // namespace logs
