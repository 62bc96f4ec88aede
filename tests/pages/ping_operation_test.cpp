#include "pages/ping_operation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "net/address.h"
#include "net/icmp_echo.h"
#include "support/registered_transaction_log.h"

namespace {

struct RecordingUi : pages::IOperationUi {
  void ShowMessage(const std::wstring& text, pages::MessageIcon icon, int field) override {
    messages.push_back(text);
    EXPECT_EQ(icon, pages::MessageIcon::kWarning);
    EXPECT_EQ(field, pages::kNoField);
  }
  std::vector<std::wstring> messages;
};

using sondara_test::RegisteredTransactionLog;

int lookups = 0;
int FailingLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  ++lookups;
  return EAI_NONAME;
}

TEST(ToolbarPing, RefusesBadHostsWithoutSending) {
  net::LoadIcmp();
  net::SetHostLookupForTesting(&FailingLookup);
  struct Case {
    std::wstring host;
    bool use_ipv6;
    std::wstring message;
    int lookups;
  } cases[] = {
      {L"10.0.0.300", false, L"Invalid IPv4 address '10.0.0.300'.", 0},
      // Names with dots are taken for addresses on purpose and never looked up.
      {L"printer.example", false, L"Invalid IPv4 address 'printer.example'.", 0},
      {L"nosuchhost", false, L"Unable to resolve IPv4 host 'nosuchhost'", 1},
      {L"", false, L"Unable to resolve IPv4 host ''", 1},
      {L"nosuchhost", true, L"Unable to resolve IPv6 host 'nosuchhost'", 1},
      {L"fe80::1::2", true, L"Unable to resolve IPv6 host 'fe80::1::2'", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.host.begin(), c.host.end()));
    RegisteredTransactionLog tlog;
    RecordingUi ui;
    lookups = 0;
    EXPECT_FALSE(pages::RunToolbarPing({c.host, c.use_ipv6, 0}, ui));
    EXPECT_EQ(ui.messages, std::vector<std::wstring>{c.message});
    EXPECT_LE(lookups, c.lookups);
    EXPECT_TRUE(tlog.Messages().empty());
  }
  net::SetHostLookupForTesting(nullptr);
}

TEST(ToolbarPing, LoopbackWritesSentAndReplyRows) {
  if (!net::LoadIcmp())
    GTEST_SKIP() << "no ICMP socket: needs CAP_NET_RAW or ping_group_range";
  struct Case {
    std::wstring host;
    bool use_ipv6;
    std::wstring sent;
    std::wstring reply_prefix;
  } cases[] = {
      {L"127.0.0.1", false, L"Ping command sent to IP 127.0.0.1.",
       L"Reply from 127.0.0.1: bytes=14 time="},
      // IPv6 texts carry the scope of the chosen interface, 0 for any.
      {L"::1", true, L"Ping command sent to IP ::1%0.", L"Reply from ::1%0: time="},
  };
  for (const auto& c : cases) {
    RegisteredTransactionLog tlog;
    RecordingUi ui;
    EXPECT_TRUE(pages::RunToolbarPing({c.host, c.use_ipv6, 0}, ui));
    EXPECT_TRUE(ui.messages.empty());
    const auto rows = tlog.Messages();
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0], c.sent);
    EXPECT_EQ(rows[1].rfind(c.reply_prefix, 0), 0U);
    EXPECT_EQ(tlog.log.Shown(0).source, L"Ping");
  }
}

}  // namespace
