// The ping toolbar's operation: a bad address is refused unsent, loopback answers.
#include "ops/ping_operation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "net/address.h"
#include "net/icmp_echo.h"
#include "support/recorders.h"
#include "support/registered_transaction_log.h"

namespace {

using testing_support::RecordingUi;

// Dotted names are taken for addresses and must never reach the resolver.
int FailingLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  ADD_FAILURE() << "looked up";
  return EAI_NONAME;
}

TEST(ToolbarPing, ABadAddressIsRefusedUnsentLoopbackWritesSentAndReplyRows) {
  const bool icmp = net::LoadIcmp();
  net::SetHostLookupForTesting(&FailingLookup);
  sondara_test::RegisteredTransactionLog tlog;
  RecordingUi ui;
  EXPECT_FALSE(pages::RunToolbarPing({L"10.0.0.300", false, 0}, ui));
  net::SetHostLookupForTesting(nullptr);
  EXPECT_EQ(ui.shown,
            (std::vector<RecordingUi::Shown>{{L"Invalid IPv4 address '10.0.0.300'.",
                                              app::MessageIcon::kWarning, app::kNoField}}));
  EXPECT_TRUE(tlog.Messages().empty());
  if (!icmp)
    GTEST_SKIP() << "no ICMP socket: needs CAP_NET_RAW or ping_group_range";
  EXPECT_TRUE(pages::RunToolbarPing({L"127.0.0.1", false, 0}, ui));
  const auto rows = tlog.Messages();
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0], L"Ping command sent to IP 127.0.0.1.");
  EXPECT_EQ(rows[1].rfind(L"Reply from 127.0.0.1: bytes=14 time=", 0), 0U)
      << testing::PrintToString(rows[1]);
  EXPECT_EQ(logs::SourceColumnText(tlog.log.Shown(0)), L"[Ping]TX:");
  EXPECT_EQ(logs::SourceColumnText(tlog.log.Shown(1)), L"[Ping]RX:");
}

}  // namespace
