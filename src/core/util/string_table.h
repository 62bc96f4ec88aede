// The string table: the user-visible messages, event-log formats, column headers and filters
// of the program in one place, looked up by number. Numbers below 1000 are the historic
// resource numbers the texts have always had; texts that never had one are numbered from 1000
// on. Formats use the printf conversions of tvkutil::Format.
//
// Captions of individual controls stay beside their widgets; the codec's own reason texts stay
// in snmp/response_check.
#pragma once

#include <string>
#include <vector>

namespace tvkutil {

namespace ids {

// Context menus of the two logs.
inline constexpr int kEventLogReset = 200;
inline constexpr int kEventLogSave = 201;
inline constexpr int kTransactionLogReset = 202;
inline constexpr int kTransactionLogSave = 203;
// Column headers.
inline constexpr int kColumnDate = 204;
inline constexpr int kColumnTime = 205;
inline constexpr int kColumnEvent = 206;
inline constexpr int kColumnSource = 207;
inline constexpr int kColumnType = 208;
inline constexpr int kColumnTransaction = 209;
inline constexpr int kColumnNumber = 219;
inline constexpr int kColumnIp = 220;
inline constexpr int kColumnDescription = 222;
// Device discovery.
inline constexpr int kInvalidStartIp = 223;
inline constexpr int kInvalidEndIp = 224;
inline constexpr int kBeginDiscovery = 225;
inline constexpr int kStop = 226;
inline constexpr int kDiscoveryLimitReached = 234;
inline constexpr int kDiscoveryStarted = 235;
inline constexpr int kDiscoveryStopped = 236;
inline constexpr int kDiscoveryComplete = 237;
// Ping.
inline constexpr int kPingSent = 227;
inline constexpr int kPingReplyIPv4 = 228;
inline constexpr int kPingNoReply = 229;
inline constexpr int kIcmpUnavailable = 230;
inline constexpr int kPingReplyIPv6 = 282;
// Saved files.
inline constexpr int kCsvFilter = 231;
inline constexpr int kCsvExtension = 232;
inline constexpr int kUnableToSave = 233;
inline constexpr int kTransactionLogFilter = 285;
inline constexpr int kTransactionLogExtension = 286;
inline constexpr int kEventLogFilter = 287;
inline constexpr int kEventLogExtension = 288;
// The request exchange.
inline constexpr int kUnableToResolveIPv4 = 239;
inline constexpr int kUnableToResolveIPv6 = 240;
inline constexpr int kUnableToBuild = 242;
inline constexpr int kUnableToTransmit = 243;
inline constexpr int kTimedOut = 244;
inline constexpr int kUnknownError = 245;
inline constexpr int kFailedSeeEventLog = 246;
inline constexpr int kUnableToBind = 283;
inline constexpr int kInvalidIPv4Address = 290;
// Product texts.
inline constexpr int kProductName = 279;
inline constexpr int kFullProductName = 280;
inline constexpr int kCompanyName = 281;

// Texts without a historic number.
inline constexpr int kNoPagesSelected = 1000;
inline constexpr int kEnterValidHost = 1001;
inline constexpr int kSelectVersion = 1002;
inline constexpr int kEnterValidGetOid = 1003;
inline constexpr int kEnterGetCommunity = 1004;
inline constexpr int kEnterValidSetOid = 1005;
inline constexpr int kEnterSetCommunity = 1006;
inline constexpr int kSelectSetDataType = 1007;
inline constexpr int kEnterValidSetValue = 1008;
inline constexpr int kEnterCommunity = 1009;
inline constexpr int kEnterValidStartOid = 1010;
inline constexpr int kEnterValidSenderIp = 1011;
inline constexpr int kEnterValidSenderOid = 1012;
inline constexpr int kVarBindNumTooLarge = 1013;
inline constexpr int kSelectTrapType = 1014;
inline constexpr int kEnterValidOid = 1015;
inline constexpr int kSelectDataType = 1016;
inline constexpr int kEnterValidValue = 1017;
inline constexpr int kMaxVarBindsReached = 1018;
inline constexpr int kCannotEditSysUpTime = 1019;
inline constexpr int kCannotDeleteSysUpTime = 1020;
inline constexpr int kCannotDeleteSnmpTrapOid = 1021;
inline constexpr int kWalkStarted = 1022;
inline constexpr int kWalkStopped = 1023;
inline constexpr int kWalkFailed = 1024;
inline constexpr int kWalkComplete = 1025;
inline constexpr int kSysObjectIdFailed = 1026;
inline constexpr int kTrapFailed = 1027;
inline constexpr int kRangeMessage = 1028;
inline constexpr int kDefaultAdapter = 1029;
inline constexpr int kColumnOid = 1030;
inline constexpr int kColumnDataType = 1031;
inline constexpr int kColumnValue = 1032;
inline constexpr int kAddVarBindTitle = 1034;
inline constexpr int kEditVarBindTitle = 1035;
inline constexpr int kOptionsTitle = 1036;
inline constexpr int kBeginWalk = 1037;
inline constexpr int kPageDeviceDiscovery = 1038;
inline constexpr int kPageGetSet = 1039;
inline constexpr int kPageSendTrap = 1040;
inline constexpr int kPageWalkMib = 1041;
inline constexpr int kPageNoFunctionality = 1042;
inline constexpr int kWalkOidNotIncreasing = 1050;
inline constexpr int kSnapshotSaved = 1051;
inline constexpr int kSnapshotNotSaved = 1052;
inline constexpr int kSettingsFileNotText = 1053;
inline constexpr int kWalkBulkSettled = 1058;
inline constexpr int kWalkBulkNotAnswered = 1059;
// The transaction log's decoded view and its capture file.
inline constexpr int kTransactionLogExport = 1070;
inline constexpr int kPcapngFilter = 1071;
inline constexpr int kPcapngExtension = 1072;
inline constexpr int kDecodedTextRow = 1073;
inline constexpr int kDecodedNotKept = 1074;
inline constexpr int kDecodedError = 1075;
inline constexpr int kDecodedPlaintext = 1076;
// Values the codec cannot send as typed, and values that need a second look.
inline constexpr int kOidArcTooLarge = 1080;
inline constexpr int kOidFirstArcs = 1081;
inline constexpr int kConfirmEmptyValue = 1082;
inline constexpr int kCounter64InV1Trap = 1083;
inline constexpr int kOidNameUnknown = 1084;
// Why a trap or a host is not what the user expects.
inline constexpr int kVarBindsLeftOut = 1090;
inline constexpr int kIPv6HostWithIPv6Off = 1091;
// What went well, so that every action leaves a line.
inline constexpr int kTrapSent = 1092;
inline constexpr int kRequestDone = 1093;
inline constexpr int kFileSaved = 1094;
inline constexpr int kPingNotAnswered = 1095;
// The SNMPv3 fields.
inline constexpr int kEnterUsmUserName = 1100;
inline constexpr int kUsmAuthPasswordTooShort = 1101;
inline constexpr int kUsmPrivPasswordTooShort = 1102;
inline constexpr int kEnterValidContextEngineId = 1103;
inline constexpr int kUsmPasswordsForRunOnly = 1104;
// Receiving notifications.
inline constexpr int kListenStarted = 1110;
inline constexpr int kListenStopped = 1111;
inline constexpr int kListenPortPrivileged = 1112;
inline constexpr int kListenPortHeldBy = 1113;
inline constexpr int kListenPortInUse = 1114;
inline constexpr int kListenFailed = 1115;

}  // namespace ids

// The text of a number; the empty text for a number the table does not hold.
std::wstring LoadString(int id);

// Every number the table holds, in ascending order.
std::vector<int> StringTableIds();

}  // namespace tvkutil
