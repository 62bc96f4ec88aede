// The Device Discovery page without its window: the two address checks, the sweep on its
// worker thread (one echo per address, reverse names, the device records under their lock, the
// 65535-device limit, the status lines), the results file and what the page keeps in the
// settings.
//
// Two sweeps share the range, the pacing, the limit and the lines. The sequential one pings one
// address after the other and looks each name up before it goes on. The fast one sends the
// first echo of each address one pacing step after the last without waiting for answers
// (net::CIcmpSweep), and names are looked up on a few threads of the operation's own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "logs/event_line_sink.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_sink.h"
#include "net/icmp_echo.h"
#include "net/icmp_sweep.h"
#include "ops/operation_ui.h"
#include "ops/progress.h"
#include "settings/settings.h"
#include "util/polled_list.h"
#include "util/runner.h"
#include "util/work_pool.h"

namespace pages {

// One device that answered.
struct CDeviceInfo {
  std::wstring ip;            // dotted text
  std::wstring description;   // host name; empty when the reverse lookup found none
  std::uint32_t address = 0;  // host byte order: the order of the list
};

// The page's fields as the checks name them for app::IOperationUi.
enum DiscoveryField : int { kFieldStartIp = 0, kFieldEndIp };

// The two address boxes as typed.
struct DiscoveryForm {
  std::wstring start_ip;
  std::wstring end_ip;
};

// A sweep lists at most this many devices.
inline constexpr std::size_t kMaxDevices = 65535;
// The least time between the (first) echoes of two addresses.
inline constexpr std::chrono::milliseconds kSweepPacing{10};
// Reverse lookups of the fast sweep run on at most this many threads at once.
inline constexpr std::size_t kLookupThreads = 4;

enum class SweepStatus : int { kNone = 0, kComplete = 1, kStopped = 2 };

// The source of the sweep's rows in the transaction log.
inline constexpr wchar_t kDiscoverySource[] = L"Device Discovery";

// Sees each device as it goes into the list: on the sweep's thread, or on a lookup thread of
// the fast sweep (so in the order the names come, not in address order).
using DeviceFoundFn = std::function<void(const CDeviceInfo&)>;

struct SweepSettings {
  int timeout_ms = 1000;  // per echo
  int retries = 3;        // further echoes after one that got no answer
  bool fast = false;
  std::chrono::milliseconds pacing = kSweepPacing;  // tests of long ranges shorten it
  DeviceFoundFn found{};  // empty for the page, which polls the list instead
  // After each address is done (answered, or out of attempts); the page polls Progress().
  ProgressFn progress{};
};

// The network side of one sweep. The real one is one ICMP socket for the whole sweep and the
// system's reverse lookup; tests stand in for it. The fast sweep sends through its
// net::IEchoPort side.
class IDiscoveryProbe : public net::IEchoPort {
 public:
  // The sequential sweep: one ping of `address` (network byte order) with every attempt, its
  // rows in the transaction log; true on a reply. `stop` abandons the wait.
  virtual bool Ping(std::uint32_t address, int timeout_ms, int retries, std::stop_token stop) = 0;
  // The host name of `address` (network byte order), empty when it has none. Called from
  // several threads at once.
  virtual std::wstring ReverseName(std::uint32_t address) = 0;
};

using ProbeFactory =
    std::function<std::shared_ptr<IDiscoveryProbe>(logs::ITransactionSink& transactions)>;

// The real probe: opens its ICMP socket once; rows go to `transactions` as "Device Discovery".
std::shared_ptr<IDiscoveryProbe> MakeIcmpProbe(logs::ITransactionSink& transactions);

class CDeviceDiscoveryOperation {
 public:
  // Starts from the stored addresses; event lines go to `events`, echo rows to `transactions`.
  explicit CDeviceDiscoveryOperation(
      const app::DiscoverySettings& stored, logs::IEventLineSink& events = logs::EventLogSink(),
      logs::ITransactionSink& transactions = logs::TransactionLogSink(),
      ProbeFactory probes = MakeIcmpProbe);
  // Stops a running sweep and waits for it.
  ~CDeviceDiscoveryOperation();
  CDeviceDiscoveryOperation(const CDeviceDiscoveryOperation&) = delete;
  CDeviceDiscoveryOperation& operator=(const CDeviceDiscoveryOperation&) = delete;

  DiscoveryForm& Form() { return form_; }
  const DiscoveryForm& Form() const { return form_; }

  // The checks of "Begin &Discovery" in control order. A bad start address is shown with the
  // warning icon, a bad end address with no icon at all: the two boxes have always differed.
  bool Validate(app::IOperationUi& ui);

  // "Begin &Discovery": the checks, then, unless a sweep's thread still exists, the line
  // "Device discovery started." and a sweep of the boxes' range on the worker thread. True when
  // the page must now follow a sweep (also when its thread could not be made: it is then
  // finished at once).
  bool Begin(const SweepSettings& settings, app::IOperationUi& ui);
  // The same sweep without a worker, for a front end without a window (sondara-cli): the
  // checks, the started line, then the sweep on the calling thread until it ends or a stop is
  // requested through `stop` (from another thread). False when refused or while a
  // worker's sweep exists.
  bool Run(const SweepSettings& settings, app::IOperationUi& ui, std::stop_token stop);
  // "St&op": asks the sweep to stop and waits for the sweep to end.
  void Stop();
  // The sweep has ended (also true before the first).
  bool Finished() const { return worker_.Finished(); }
  // Forgets the thread of a sweep that has ended.
  void Join() { worker_.Join(); }

  const tvkutil::CPolledList<CDeviceInfo>& Devices() const { return devices_; }
  // Addresses done of the range and devices found by the current or last sweep; reaches the
  // whole range when a sweep completes.
  ProgressSnapshot Progress() const { return progress_.Snapshot(); }
  // How the last sweep ended, and its line: "Device discovery complete. No. of devices
  // discovered '%d'." or "...stopped...". Empty before the first sweep.
  SweepStatus LastStatus() const { return status_.load(); }
  std::wstring LastStatusLine() const;

  // The results file: banner, the started line, the header "No.,IP,Description", one line per
  // device with each field quoted and followed by a comma, the status line of the last sweep.
  std::string ResultsText() const;
  [[nodiscard]] std::error_code SaveResults(const std::filesystem::path& path) const;

  // The addresses go into the settings only when both pass the dotted IPv4 test.
  void StoreTo(app::DiscoverySettings& settings) const;

 private:
  class CNameBatch;

  void Sweep(std::stop_token stop, const std::wstring& start, const std::wstring& end,
             const SweepSettings& settings);
  SweepStatus SequentialSweep(std::stop_token stop, IDiscoveryProbe& probe, std::uint64_t first,
                              std::uint64_t last, const SweepSettings& settings);
  SweepStatus FastSweep(std::stop_token stop, const std::shared_ptr<IDiscoveryProbe>& probe,
                        std::uint64_t first, std::uint64_t last, const SweepSettings& settings);
  void LimitReached();
  void AddressDone(const SweepSettings& settings);
  void Event(int string_id, std::size_t count = 0);

  DiscoveryForm form_;
  logs::IEventLineSink& events_;
  logs::ITransactionSink& transactions_;
  ProbeFactory probes_;
  tvkutil::CPolledList<CDeviceInfo> devices_;
  std::atomic<SweepStatus> status_{SweepStatus::kNone};
  std::atomic<std::size_t> final_count_{0};
  CProgress progress_;
  // The fast sweep's reverse lookups. Kept from sweep to sweep; a lookup still running when its
  // sweep was stopped ends on its own, and the pool's end waits for it.
  tvkutil::CWorkPool lookups_{kLookupThreads, kMaxDevices};
  // Last member: its thread is stopped before anything it uses goes.
  tvkutil::CRunner worker_;
};

}  // namespace pages
