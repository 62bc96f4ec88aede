// Device discovery: real sweeps inside a private network namespace, the rest through a stand-in.
#include "ops/device_discovery_operation.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "net/icmp_echo.h"
#include "settings/sondara_utility_app.h"
#include "support/private_netns.h"
#include "support/recorders.h"
#include "support/temp_folder.h"
#include "util/text.h"

namespace {

using namespace std::chrono_literals;
using pages::CDeviceDiscoveryOperation;
using pages::SweepStatus;

using testing_support::EventLines;
using testing_support::RecordingUi;
using testing_support::WaitUntil;

struct Rows : logs::ITransactionSink {
  void LogDatagram(std::int32_t, std::wstring_view, std::span<const std::uint8_t>,
                   const logs::DatagramEnds&) override {}
  void LogText(std::int32_t direction, std::wstring_view source, std::string_view text) override {
    std::lock_guard lock(mutex);
    EXPECT_EQ(source, L"Device Discovery");
    (direction == logs::kDirectionSent ? sent : received).emplace_back(text);
  }
  std::mutex mutex;
  std::vector<std::string> sent, received;
};

std::string DeviceLines(const CDeviceDiscoveryOperation& op) {
  return op.Devices().WithAll([](const std::vector<pages::CDeviceInfo>& devices) {
    std::string out;
    for (const auto& d : devices)
      out += tvkutil::ToUtf8(d.ip) + ' ' + tvkutil::ToUtf8(d.description) + '\n';
    return out;
  });
}

// Per mode: a sweep of .1-.40, then one stopped once .40 and .41 are listed and .42 waits.
TEST(DeviceDiscovery, SweepListsAnsweringHostsInOrderAndStopKeepsThemForTheSave) {
  const auto run = testing_support::RunInPrivateNetns([]() -> std::string {
    // The answering addresses with their names (198.18.0.1 is the namespace's own; 198.18.0.41
    // has no name), and ICMP.
    const std::string error = testing_support::UseHostsFile(
        "198.18.0.1 alpha.test alpha\n198.18.0.7 bravo.test\n198.18.0.12 charlie.test\n"
        "198.18.0.25 delta.test\n198.18.0.40 echo.test\n");
    if (!error.empty())
      return "set-up: " + error;
    if (!testing_support::AddAnsweringAddresses(
            {"198.18.0.7", "198.18.0.12", "198.18.0.25", "198.18.0.40", "198.18.0.41"}) ||
        !net::LoadIcmp())
      return std::string("set-up: no answering addresses or no ICMP");
    std::ostringstream out;
    for (const bool fast : {false, true}) {
      EventLines lines;
      Rows rows;
      CDeviceDiscoveryOperation op({}, lines, rows);
      op.Form() = {L"198.18.0.1", L"198.18.0.40"};
      RecordingUi ui;
      const long before = testing_support::EchoesSent(false);
      // The fast sweep gives each silent address all its attempts: 3 echoes each.
      if (!op.Begin({.timeout_ms = 100, .retries = fast ? 2 : 0, .fast = fast}, ui) ||
          !WaitUntil([&] { return op.Finished(); })) {
        return "no sweep";
      }
      const auto replies = std::count_if(
          rows.received.begin(), rows.received.end(),
          [](const std::string& r) { return r.find(": bytes=14 time=") != std::string::npos; });
      out << "fast " << fast << ": echoes " << testing_support::EchoesSent(false) - before
          << ", rows " << rows.sent.size() << "/" << rows.received.size() << ", replies " << replies
          << ", swept " << op.Progress().done << "/" << op.Progress().total << " found "
          << op.Progress().found << "\n"
          << DeviceLines(op) << tvkutil::ToUtf8(lines.Lines().back()) << "\n";
      op.Join();

      // Unstopped, the first silent address alone would take 4 x 3 s.
      constexpr int kTimeoutMs = 3000;
      op.Form() = {L"198.18.0.40", L"198.18.0.60"};
      std::size_t sent_before = rows.sent.size();
      op.Begin({.timeout_ms = kTimeoutMs, .retries = 3, .fast = fast}, ui);
      const auto waiting = [&] {
        std::lock_guard lock(rows.mutex);
        return op.Devices().Count() == 2 &&
               std::find(rows.sent.begin() + static_cast<long>(sent_before), rows.sent.end(),
                         "Ping command sent to IP 198.18.0.42.") != rows.sent.end();
      };
      if (!WaitUntil(waiting))
        return "the two answering hosts were not found";
      const auto asked = std::chrono::steady_clock::now();
      op.Stop();
      const bool prompt = std::chrono::steady_clock::now() - asked < 1ms * kTimeoutMs;
      sondara_test::TempFolder dir;
      const bool saved = !op.SaveResults(dir / "devices.csv");
      out << "prompt " << prompt << ", saved " << saved << ", status "
          << static_cast<int>(op.LastStatus()) << "\n"
          << sondara_test::ReadFile(dir / "devices.csv") << "\n"
          << tvkutil::ToUtf8(lines.Lines().back()) << "\n";
    }
    return out.str();
  });
  SONDARA_REQUIRE_NETNS(run);
  const std::string listed =
      "198.18.0.1 alpha.test\n198.18.0.7 bravo.test\n198.18.0.12 charlie.test\n"
      "198.18.0.25 delta.test\n198.18.0.40 echo.test\n"
      "Device discovery complete. No. of devices discovered '5'.\n"
      "prompt 1, saved 1, status 2\n" +
      tvkutil::ToUtf8(L"Sondara Utility V" + app::CSondaraUtilityApp::VersionText()) +
      " - Tarvik Technologies\n"
      "Device discovery started.\n"
      "::::::::::::::::::::::::::::::\n"
      "No.,IP,Description\n"
      "\"1\",\"198.18.0.40\",\"echo.test\",\n"
      "\"2\",\"198.18.0.41\",\"\",\n"
      "::::::::::::::::::::::::::::::\n"
      "Device discovery stopped. No. of devices discovered '2'.\n"
      "Device discovery stopped. No. of devices discovered '2'.\n";
  EXPECT_EQ(run.output, "fast 0: echoes 40, rows 40/40, replies 5, swept 40/40 found 5\n" + listed +
                            "fast 1: echoes 110, rows 40/40, replies 5, swept 40/40 found 5\n" +
                            listed);
}

TEST(DeviceDiscovery, ChecksRefuseBadAddressesAndKeepOnlyValidPairs) {
  const std::wstring bad_start = L"Please enter a valid start IP address.",
                     bad_end = L"Please enter a valid end IP address.";
  const auto warning = app::MessageIcon::kWarning, none = app::MessageIcon::kNone;
  const struct {
    const wchar_t* start;
    const wchar_t* end;
    std::wstring message;  // empty: accepted
    app::MessageIcon icon;
    int field;
  } cases[] = {
      {L"10.0.0.300", L"10.0.0.9", bad_start, warning, pages::kFieldStartIp},
      {L"0.0.0.0", L"", bad_start, warning, pages::kFieldStartIp},
      {L"10.0.0.1", L"255.255.255.255", bad_end, none, pages::kFieldEndIp},
      {L"10.0.0.9", L"10.0.0.1", L"", none, 0},
  };
  for (const auto& c : cases) {
    EventLines lines;
    CDeviceDiscoveryOperation op({}, lines);
    op.Form() = {c.start, c.end};
    RecordingUi ui;
    EXPECT_EQ(op.Validate(ui), c.message.empty()) << tvkutil::ToUtf8(c.start);
    app::DiscoverySettings stored{L"1.1.1.1", L"1.1.1.2"};
    op.StoreTo(stored);
    if (!c.message.empty()) {
      EXPECT_EQ(ui.shown, (std::vector<RecordingUi::Shown>{{c.message, c.icon, c.field}}));
      EXPECT_EQ(stored.start_ip, L"1.1.1.1");  // nothing stored unless both are valid
    } else {
      EXPECT_EQ(std::tie(stored.start_ip, stored.end_ip), std::tuple(c.start, c.end));
    }
  }
}

// Answers every echo at once. Names are empty, or "slow-<last number>" of 10.0.0.1-4, found the
// slower the lower the address: the fast sweep's names then come in backwards.
class AnsweringProbe : public pages::IDiscoveryProbe {
 public:
  explicit AnsweringProbe(bool slow_names = false) : slow_names_(slow_names) {}
  bool Ping(std::uint32_t, int, int, std::stop_token) override { return true; }
  bool CanSend() const override { return true; }
  std::int32_t Send(std::uint32_t address, std::uint16_t& sequence) override {
    sequence = next_++;
    answers_.push_back({address, sequence, net::kEchoSuccess, 14, net::EchoClock::now()});
    return net::kEchoSuccess;
  }
  std::vector<net::EchoAnswer> Receive(net::EchoClock::time_point until) override {
    if (answers_.empty())
      std::this_thread::sleep_until(until);
    return std::exchange(answers_, {});
  }
  std::wstring ReverseName(std::uint32_t address) override {
    if (!slow_names_)
      return L"";
    const int last = static_cast<int>(ntohl(address) & 0xFF);
    std::this_thread::sleep_for(std::chrono::milliseconds(40 * (5 - last)));
    return L"slow-" + std::to_wstring(last);
  }

 private:
  bool slow_names_;
  std::uint16_t next_ = 1;
  std::vector<net::EchoAnswer> answers_;
};

TEST(DeviceDiscovery, AStartAboveTheEndProbesNothingNamesInAnyOrderAndTheLimitEndsAsComplete) {
  for (const bool fast : {false, true}) {
    int probes_made = 0;
    bool slow_names = true;
    EventLines lines;
    Rows rows;
    CDeviceDiscoveryOperation op({}, lines, rows, [&](logs::ITransactionSink&) {
      ++probes_made;
      return std::make_shared<AnsweringProbe>(slow_names);
    });
    RecordingUi ui;
    op.Form() = {L"10.0.0.9", L"10.0.0.1"};
    ASSERT_TRUE(op.Begin({.fast = fast}, ui));
    ASSERT_TRUE(WaitUntil([&] { return op.Finished(); }));
    EXPECT_EQ(probes_made, 0);
    EXPECT_EQ(lines.Lines().back(), L"Device discovery complete. No. of devices discovered '0'.");
    op.Join();

    op.Form() = {L"10.0.0.1", L"10.0.0.4"};
    std::vector<std::uint64_t> steps;  // done, as each step reported it
    ASSERT_TRUE(
        op.Begin({.fast = fast,
                  .progress = [&](const pages::ProgressSnapshot& p) { steps.push_back(p.done); }},
                 ui));
    ASSERT_TRUE(WaitUntil([&] { return op.Finished(); }));
    EXPECT_EQ(DeviceLines(op),
              "10.0.0.1 slow-1\n10.0.0.2 slow-2\n10.0.0.3 slow-3\n10.0.0.4 slow-4\n");
    EXPECT_EQ(steps, (std::vector<std::uint64_t>{1, 2, 3, 4}));
    EXPECT_EQ(pages::ProgressPercent(op.Progress()), 100);
    op.Join();
    slow_names = false;

    // 65537 answering addresses: the 65536th finds the list full.
    op.Form() = {L"10.0.0.1", L"10.1.0.1"};
    ASSERT_TRUE(op.Begin({.fast = fast, .pacing = 0ms}, ui));
    ASSERT_TRUE(WaitUntil([&] { return op.Finished(); }, 300s));
    const auto all = lines.Lines();
    ASSERT_EQ(all.size(), 7U);
    EXPECT_EQ(all[5],
              L"Stopping device discovery. A maximum of '65535' devices can only be discovered.");
    EXPECT_EQ(all[6], L"Device discovery complete. No. of devices discovered '65535'.");
    EXPECT_EQ(op.LastStatus(), SweepStatus::kComplete);
    std::wstring last;
    op.Devices().With(pages::kMaxDevices - 1, [&](const pages::CDeviceInfo& d) { last = d.ip; });
    EXPECT_EQ(last, L"10.0.255.255") << "fast " << fast;
  }
}

// Names that hang until the test lets them go (at most 30 s).
class HangingNamesProbe : public AnsweringProbe {
 public:
  std::wstring ReverseName(std::uint32_t) override {
    std::unique_lock lock(mutex);
    ++started;
    go.wait_for(lock, 30s, [&] { return released; });
    ++returned;
    return L"late";
  }
  std::mutex mutex;
  std::condition_variable go;
  int started = 0, returned = 0;
  bool released = false;
};

// Eight devices, four lookup threads: Stop returns while four names hang and lists all eight
// without a name; the four queued lookups never run, the hanging ones change nothing.
TEST(DeviceDiscovery, AStopLeavesHangingNamesBehindAndListsTheDevicesWithoutThem) {
  const auto probe = std::make_shared<HangingNamesProbe>();
  std::wstring found;  // every device the list got, in the order it got them
  {
    EventLines lines;
    Rows rows;
    CDeviceDiscoveryOperation op({}, lines, rows, [&](logs::ITransactionSink&) { return probe; });
    op.Form() = {L"10.0.0.1", L"10.0.0.8"};
    RecordingUi ui;
    ASSERT_TRUE(
        op.Begin({.fast = true,
                  .found = [&](const pages::CDeviceInfo& d) { found += d.description + L"|"; }},
                 ui));
    ASSERT_TRUE(WaitUntil([&] {
      std::lock_guard lock(probe->mutex);
      return probe->started == static_cast<int>(pages::kLookupThreads) && op.Progress().found == 8;
    }));
    op.Stop();
    EXPECT_EQ(op.LastStatus(), SweepStatus::kStopped);
    EXPECT_EQ(op.Devices().Count(), 8U);
    {
      std::lock_guard lock(probe->mutex);
      EXPECT_EQ(probe->returned, 0);  // the sweep did not wait for them
      probe->released = true;
      probe->go.notify_all();
    }
    // Once they are back, a queued lookup would start at once.
    ASSERT_TRUE(WaitUntil([&] {
      std::lock_guard lock(probe->mutex);
      return probe->returned >= static_cast<int>(pages::kLookupThreads);
    }));
  }
  EXPECT_EQ(probe->started, static_cast<int>(pages::kLookupThreads));
  EXPECT_EQ(found, L"||||||||");
}

TEST(DeviceDiscovery, ProgressLinesSayWhatIsDoneAndWhatIsLeft) {
  EXPECT_EQ(pages::SweepProgressLine({120, 256, 3, std::chrono::milliseconds(3000)}),
            L"Swept 120 of 256 addresses (46 %), 3 devices found, 40.0 addresses/s, 0:03 "
            L"elapsed, about 0:03 left");
  EXPECT_EQ(pages::SweepProgressLine({0, 256, 1, {}}),
            L"Swept 0 of 256 addresses (0 %), 1 device found, 0.0 addresses/s, 0:00 elapsed, "
            L"time left not known yet");
  EXPECT_EQ(pages::WalkProgressLine({7, 0, 0, std::chrono::milliseconds(3723000)}),
            L"walkMIB: 7 objects found, 0.0 objects/s, 1:02:03 elapsed, end not known");
  // Once finished there is nothing left to estimate.
  EXPECT_EQ(pages::SweepProgressLine({256, 256, 2, std::chrono::milliseconds(6000), true}),
            L"Swept 256 of 256 addresses (100 %), 2 devices found, 42.6 addresses/s, 0:06 elapsed");
  EXPECT_EQ(pages::WalkProgressLine({9, 0, 0, std::chrono::milliseconds(1000), true}),
            L"walkMIB: 9 objects found, 9.0 objects/s, 0:01 elapsed");
  EXPECT_EQ(pages::ProgressPercent({255, 256, 0, {}}), 99);
}

}  // namespace
