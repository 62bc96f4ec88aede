#include "util/string_table.h"

#include <algorithm>
#include <iterator>

namespace tvkutil {

namespace {

struct Entry {
  int id;
  const wchar_t* text;
};

// Kept sorted by number: LoadString searches it by halves.
constexpr Entry kTable[] = {
    {ids::kEventLogReset, L"&Reset"},
    {ids::kEventLogSave, L"&Save"},
    {ids::kTransactionLogReset, L"&Reset"},
    {ids::kTransactionLogSave, L"&Save"},
    {ids::kColumnDate, L"Date"},
    {ids::kColumnTime, L"Time"},
    {ids::kColumnEvent, L"Event"},
    {ids::kColumnSource, L"Source"},
    {ids::kColumnType, L"Type"},
    {ids::kColumnTransaction, L"Transaction"},
    {ids::kColumnNumber, L"No."},
    {ids::kColumnIp, L"IP"},
    {ids::kColumnDescription, L"Description"},
    {ids::kInvalidStartIp, L"Please enter a valid start IP address."},
    {ids::kInvalidEndIp, L"Please enter a valid end IP address."},
    {ids::kBeginDiscovery, L"Begin &Discovery"},
    {ids::kStop, L"St&op"},
    {ids::kPingSent, L"Ping command sent to IP %s."},
    {ids::kPingReplyIPv4, L"Reply from %s: bytes=%d time=%dms."},
    {ids::kPingNoReply, L"Reply from %s not received."},
    // There is no helper library to load here; what can be missing is the ICMP socket.
    {ids::kIcmpUnavailable,
     L"Unable to open an ICMP socket. Ping/Device discovery functionality will not be "
     L"available."},
    {ids::kCsvFilter, L"Text Files (*.csv)|*.csv|"},
    {ids::kCsvExtension, L"csv"},
    {ids::kUnableToSave, L"Unable to save results to file %s."},
    {ids::kDiscoveryLimitReached,
     L"Stopping device discovery. A maximum of '%d' devices can only be discovered."},
    {ids::kDiscoveryStarted, L"Device discovery started."},
    {ids::kDiscoveryStopped, L"Device discovery stopped. No. of devices discovered '%d'."},
    {ids::kDiscoveryComplete, L"Device discovery complete. No. of devices discovered '%d'."},
    {ids::kUnableToResolveIPv4, L"Unable to resolve IPv4 host '%s'"},
    {ids::kUnableToResolveIPv6, L"Unable to resolve IPv6 host '%s'"},
    {ids::kUnableToBuild, L"Unable to build message for transmit"},
    {ids::kUnableToTransmit, L"Unable to transmit message to remote host"},
    {ids::kTimedOut, L"Timed out while waiting for response from remote host"},
    {ids::kUnknownError, L"Unknown error"},
    {ids::kFailedSeeEventLog, L"<Failed: See Event Log>"},
    {ids::kProductName, L"Sondara Utility"},
    {ids::kFullProductName, L"Tarvik Sondara Utility"},
    {ids::kCompanyName, L"Tarvik Technologies"},
    {ids::kPingReplyIPv6, L"Reply from %s: time=%dms."},
    {ids::kUnableToBind, L"Unable to bind to local adapter"},
    {ids::kTransactionLogFilter, L"Text Files (*.txt)|*.txt|"},
    {ids::kTransactionLogExtension, L"txt"},
    {ids::kEventLogFilter, L"Text Files (*.txt)|*.txt|"},
    {ids::kEventLogExtension, L"txt"},
    {ids::kInvalidIPv4Address, L"Invalid IPv4 address '%s'."},

    {ids::kNoPagesSelected, L"You have deselected all the pages!"},
    {ids::kEnterValidHost, L"Please enter a valid IP/Host address."},
    {ids::kSelectVersion, L"Please select an SNMP version."},
    {ids::kEnterValidGetOid, L"Please enter a valid OID for the 'Get' request."},
    {ids::kEnterGetCommunity, L"Please enter a community name for the 'Get' request."},
    {ids::kEnterValidSetOid, L"Please enter a valid OID for the 'Set' request."},
    {ids::kEnterSetCommunity, L"Please enter a community name for the 'Set' request."},
    {ids::kSelectSetDataType, L"Please select datatype for the 'Set' request."},
    {ids::kEnterValidSetValue, L"Please enter a valid value to write for the 'Set' request."},
    {ids::kEnterCommunity, L"Please enter a community name."},
    {ids::kEnterValidStartOid, L"Please enter a valid Start OID."},
    {ids::kEnterValidSenderIp, L"Please enter a valid sender IP address."},
    {ids::kEnterValidSenderOid, L"Please enter a valid sender OID."},
    {ids::kVarBindNumTooLarge,
     L"VarBind# ('%d') greater than the no. of varbinds in the VarBind list ('%d')."},
    {ids::kSelectTrapType, L"Please select a trap type."},
    {ids::kEnterValidOid, L"Please enter a valid OID."},
    {ids::kSelectDataType, L"Please select a datatype."},
    {ids::kEnterValidValue, L"Please enter a valid value."},
    {ids::kMaxVarBindsReached, L"A maximum of '%d' varbinds can only be created."},
    // The trailing blanks have always been part of these three texts.
    {ids::kCannotEditSysUpTime, L"Cannot edit this sysUpTime varbind. "},
    {ids::kCannotDeleteSysUpTime, L"Cannot delete this sysUpTime varbind. "},
    {ids::kCannotDeleteSnmpTrapOid, L"Cannot delete this snmpTrapOID varbind. "},
    {ids::kWalkStarted, L"walkMIB started."},
    {ids::kWalkStopped, L"walkMIB stopped. No. of OIDs found: '%d'."},
    {ids::kWalkFailed, L"walkMIB failed. No. of OIDs found: '%d'."},
    {ids::kWalkComplete, L"walkMIB complete. No. of OIDs found: '%d'."},
    {ids::kSysObjectIdFailed,
     L"Get request failed for OID '%s' (RFC1213::SysObjectID). Reason: '%s'."},
    {ids::kTrapFailed, L"Trap request failed. Reason: '%s'."},
    {ids::kRangeMessage, L"Please enter an integer between %d and %d."},
    {ids::kDefaultAdapter, L"Default"},
    {ids::kColumnOid, L"OID"},
    {ids::kColumnDataType, L"DataType"},
    {ids::kColumnValue, L"Value"},
    {ids::kAddVarBindTitle, L"Add VarBind"},
    {ids::kEditVarBindTitle, L"Edit VarBind"},
    {ids::kOptionsTitle, L"Options"},
    {ids::kBeginWalk, L"Begin &Walk"},
    {ids::kPageDeviceDiscovery, L"&Device Discovery"},
    {ids::kPageGetSet, L"&Get/Set"},
    {ids::kPageSendTrap, L"&sendTrap"},
    {ids::kPageWalkMib, L"&walkMIB"},
    {ids::kPageNoFunctionality, L"&No Functionality"},
    // A walk ends here rather than asking an agent that goes round in circles for ever.
    {ids::kWalkOidNotIncreasing,
     L"GetNext request failed for OID '%s'. Reason: 'The agent answered with OID '%s', which "
     L"does not follow the OID asked for'."},
    // File > Save Settings says where the values went.
    {ids::kSnapshotSaved, L"Settings saved to '%s'."},
    {ids::kSnapshotNotSaved, L"Unable to save the settings to '%s'."},
    // Said once at start-up; the file is the user's to mend, we do not overwrite it.
    {ids::kSettingsFileNotText,
     L"The settings file '%s' is not text (neither UTF-8 nor UTF-16). It is left as it is and "
     L"not written by this run; the pages start with their defaults."},
    {ids::kWalkBulkSettled, L"GetBulk repetitions settled on %d for %s."},
    {ids::kWalkBulkNotAnswered, L"The agent at %s does not answer GetBulk: walked with GetNext."},
    {ids::kTransactionLogExport, L"Export as &pcapng\u2026"},
    {ids::kPcapngFilter, L"pcapng Files (*.pcapng)|*.pcapng|"},
    {ids::kPcapngExtension, L"pcapng"},
    {ids::kDecodedTextRow, L"This row is text, not an SNMP message."},
    {ids::kDecodedNotKept,
     L"This message is no longer kept: the log keeps the most recent %d datagrams or %d MB."},
    {ids::kDecodedError, L"Error at offset %d: %s"},
    {ids::kDecodedPlaintext, L"Decrypted scoped PDU:"},
    {ids::kOidArcTooLarge, L"Each number of an OID must be between 0 and 4294967295."},
    {ids::kOidFirstArcs,
     L"An OID must begin with 0, 1 or 2, and after 0 or 1 its second number must be below 40."},
    {ids::kConfirmEmptyValue, L"The %s value is empty. Send it empty?"},
    {ids::kCounter64InV1Trap,
     L"A version 1 trap cannot carry a Counter64 value. Use version 2c, or another type."},
    {ids::kOidNameUnknown,
     L"'%s' is not an OID this program can read: %s. Type the OID in numbers, or add the MIB "
     L"module that defines it to a MIB folder (Tools > Options)."},
    {ids::kVarBindsLeftOut,
     L"VarBind# ('%d') leaves %d of the %d varbinds in the VarBind list out of the trap. Send "
     L"it anyway?"},
    {ids::kIPv6HostWithIPv6Off,
     L"Unable to resolve IPv4 host '%s': an IPv6 address needs Tools > Options > \"Use IPv6\"."},
    {ids::kTrapSent, L"Trap sent to %s."},
    {ids::kRequestDone, L"%s request to %s complete."},
    {ids::kFileSaved, L"Saved to '%s'."},
    {ids::kPingNotAnswered, L"Ping to %s not answered."},
    {ids::kEnterUsmUserName, L"Please enter the SNMPv3 user name."},
    {ids::kUsmAuthPasswordTooShort,
     L"Please enter an authentication password of at least 8 characters."},
    {ids::kUsmPrivPasswordTooShort, L"Please enter a privacy password of at least 8 characters."},
    {ids::kEnterValidContextEngineId,
     L"Please enter the context engine ID as 5 to 32 bytes in hex (such as 80001f8880), or "
     L"leave it empty for the agent's own."},
    {ids::kUsmPasswordsForRunOnly,
     L"No keyring runs: passwords are kept until the program ends and asked for again after a "
     L"restart."},
    {ids::kListenStarted, L"Listening for notifications on UDP port %u."},
    {ids::kListenStopped,
     L"Stopped listening on UDP port %u: %s, %llu malformed, %llu dropped by the "
     L"kernel."},
    {ids::kListenPortPrivileged,
     L"Unable to listen on UDP port %u: ports below 1024 need a privilege this program does not "
     L"have. Install the package, which grants the program the cap_net_bind_service capability "
     L"(by hand: setcap cap_net_raw,cap_net_bind_service+ep on it), or let every user bind such "
     L"ports with 'sysctl net.ipv4.ip_unprivileged_port_start=%u', or listen on a port above "
     L"1023."},
    {ids::kListenPortHeldBy,
     L"Unable to listen on UDP port %u: %s already listens on it. Stop it, or listen on another "
     L"port."},
    {ids::kListenPortInUse,
     L"Unable to listen on UDP port %u: another program already listens on it (a receiver such "
     L"as snmptrapd may be running). Stop it, or listen on another port."},
    {ids::kListenFailed, L"Unable to listen on UDP port %u: %s."},
};

}  // namespace

std::wstring LoadString(int id) {
  const auto it = std::lower_bound(std::begin(kTable), std::end(kTable), id,
                                   [](const Entry& e, int key) { return e.id < key; });
  if (it == std::end(kTable) || it->id != id)
    return {};
  return it->text;
}

std::vector<int> StringTableIds() {
  std::vector<int> result;
  result.reserve(std::size(kTable));
  for (const Entry& e : kTable)
    result.push_back(e.id);
  return result;
}

}  // namespace tvkutil
