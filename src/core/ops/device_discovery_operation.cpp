#include "ops/device_discovery_operation.h"

#include <arpa/inet.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <set>
#include <utility>

#include "net/address.h"
#include "ops/operation_common.h"
#include "ops/results_file.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

using Clock = net::EchoClock;

bool ByAddress(const CDeviceInfo& a, const CDeviceInfo& b) {
  return a.address < b.address;
}

CDeviceInfo Device(std::uint32_t host, std::wstring name) {
  CDeviceInfo device;
  net::AddressToDotted(htonl(host), device.ip);
  device.description = std::move(name);
  device.address = host;
  return device;
}

class CIcmpProbe : public IDiscoveryProbe {
 public:
  explicit CIcmpProbe(logs::ITransactionSink& transactions) : transactions_(transactions) {}

  bool Ping(std::uint32_t address, int timeout_ms, int retries, std::stop_token stop) override {
    return net::PingIPv4(socket_, address, timeout_ms, retries, kDiscoverySource, transactions_,
                         stop);
  }
  bool CanSend() const override { return socket_.IsOpen(); }
  std::int32_t Send(std::uint32_t address, std::uint16_t& out_sequence) override {
    return socket_.Send(address, out_sequence);
  }
  std::vector<net::EchoAnswer> Receive(Clock::time_point until) override {
    return socket_.Receive(until);
  }
  std::wstring ReverseName(std::uint32_t address) override {
    return net::ReverseLookupIPv4(address);
  }

 private:
  logs::ITransactionSink& transactions_;
  net::CIcmpEchoSocket socket_;
};

}  // namespace

std::shared_ptr<IDiscoveryProbe> MakeIcmpProbe(logs::ITransactionSink& transactions) {
  return std::make_shared<CIcmpProbe>(transactions);
}

// The devices of one fast sweep that wait for their names. A device goes into the list, in
// address order, once its name is known. When the sweep is stopped, the devices still waiting
// go in at once without a name and the lookups not yet started are dropped; a lookup that is
// already running holds the batch's shared state, finds it abandoned and touches nothing else.
class CDeviceDiscoveryOperation::CNameBatch {
 public:
  CNameBatch(tvkutil::CWorkPool& pool, std::shared_ptr<IDiscoveryProbe> probe,
             tvkutil::CPolledList<CDeviceInfo>& devices, DeviceFoundFn found)
      : pool_(pool), probe_(std::move(probe)), shared_(std::make_shared<Shared>(devices)) {
    shared_->found = std::move(found);
  }
  ~CNameBatch() { Abandon(); }
  CNameBatch(const CNameBatch&) = delete;
  CNameBatch& operator=(const CNameBatch&) = delete;

  void Add(std::uint32_t host) {
    {
      std::lock_guard lock(shared_->mutex);
      shared_->pending.insert(host);
    }
    pool_.Post([shared = shared_, probe = probe_, host] {
      std::wstring name = probe->ReverseName(htonl(host));
      std::lock_guard lock(shared->mutex);
      if (shared->abandoned)
        return;
      Insert(*shared, Device(host, std::move(name)));
      shared->pending.erase(host);
      if (shared->pending.empty())
        shared->done.notify_all();
    });
  }

  // Waits until every device found is in the list: true. When `stop` is raised first, Abandon()
  // and false.
  bool Finish(std::stop_token stop) {
    {
      std::unique_lock lock(shared_->mutex);
      while (!shared_->pending.empty()) {
        if (stop.stop_requested()) {
          lock.unlock();
          Abandon();
          return false;
        }
        shared_->done.wait_for(lock, tvkutil::kStopPollSlice);
      }
    }
    Abandon();  // nothing is left: only closes the batch
    return true;
  }

  // Puts every device still waiting for its name into the list without one and drops the
  // lookups not yet started; from now on no lookup touches the list.
  void Abandon() {
    pool_.Cancel();
    std::lock_guard lock(shared_->mutex);
    if (shared_->abandoned)
      return;
    shared_->abandoned = true;
    for (std::uint32_t host : shared_->pending)
      Insert(*shared_, Device(host, {}));
    shared_->pending.clear();
  }

 private:
  struct Shared {
    explicit Shared(tvkutil::CPolledList<CDeviceInfo>& list) : devices(list) {}
    std::mutex mutex;
    std::condition_variable done;     // the last pending name is in
    std::set<std::uint32_t> pending;  // found and not yet in the list
    bool abandoned = false;
    tvkutil::CPolledList<CDeviceInfo>& devices;  // only while not abandoned
    DeviceFoundFn found;
  };

  // Under the shared lock, so nothing goes in once the batch is abandoned.
  static void Insert(const Shared& shared, CDeviceInfo device) {
    if (shared.found)
      shared.found(device);
    shared.devices.InsertSorted(std::move(device), ByAddress);
  }

  tvkutil::CWorkPool& pool_;
  std::shared_ptr<IDiscoveryProbe> probe_;
  std::shared_ptr<Shared> shared_;
};

CDeviceDiscoveryOperation::CDeviceDiscoveryOperation(const app::DiscoverySettings& stored,
                                                     logs::IEventLineSink& events,
                                                     logs::ITransactionSink& transactions,
                                                     ProbeFactory probes)
    : events_(events), transactions_(transactions), probes_(std::move(probes)) {
  form_.start_ip = stored.start_ip;
  form_.end_ip = stored.end_ip;
}

CDeviceDiscoveryOperation::~CDeviceDiscoveryOperation() {
  worker_.StopAndWait();
}

bool CDeviceDiscoveryOperation::Validate(app::IOperationUi& ui) {
  using namespace tvkutil::ids;
  if (!net::IsValidIPv4Text(form_.start_ip))
    return Refuse(ui, kInvalidStartIp, kFieldStartIp);
  if (!net::IsValidIPv4Text(form_.end_ip))
    return Refuse(ui, kInvalidEndIp, kFieldEndIp, app::MessageIcon::kNone);
  return true;
}

bool CDeviceDiscoveryOperation::Begin(const SweepSettings& settings, app::IOperationUi& ui) {
  if (!Validate(ui) || worker_.HasThread())
    return false;
  Event(tvkutil::ids::kDiscoveryStarted);
  worker_.Start([this, start = form_.start_ip, end = form_.end_ip, settings](std::stop_token stop) {
    Sweep(stop, start, end, settings);
  });
  return true;
}

bool CDeviceDiscoveryOperation::Run(const SweepSettings& settings, app::IOperationUi& ui,
                                    std::stop_token stop) {
  if (!Validate(ui) || worker_.HasThread())
    return false;
  Event(tvkutil::ids::kDiscoveryStarted);
  Sweep(stop, form_.start_ip, form_.end_ip, settings);
  return true;
}

void CDeviceDiscoveryOperation::Stop() {
  worker_.StopAndWait();
}

void CDeviceDiscoveryOperation::Event(int string_id, std::size_t count) {
  events_.AddEventLine(
      tvkutil::FormatN(tvkutil::LoadString(string_id), tvkutil::kMaxLogLineLen, count));
}

void CDeviceDiscoveryOperation::LimitReached() {
  Event(tvkutil::ids::kDiscoveryLimitReached, kMaxDevices);
}

void CDeviceDiscoveryOperation::AddressDone(const SweepSettings& settings) {
  progress_.AddDone();
  if (settings.progress)
    settings.progress(progress_.Snapshot());
}

void CDeviceDiscoveryOperation::Sweep(std::stop_token stop, const std::wstring& start,
                                      const std::wstring& end, const SweepSettings& settings) {
  devices_.Clear();

  SweepStatus status = SweepStatus::kComplete;
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  // A start above the end probes nothing and completes with no devices.
  const bool range = net::DottedToAddress(start, first) && net::DottedToAddress(end, last) &&
                     ntohl(first) <= ntohl(last);
  progress_.Start(range ? std::uint64_t{ntohl(last)} - ntohl(first) + 1 : 0);
  if (range) {
    if (const std::shared_ptr<IDiscoveryProbe> probe = probes_(transactions_)) {
      status = settings.fast ? FastSweep(stop, probe, ntohl(first), ntohl(last), settings)
                             : SequentialSweep(stop, *probe, ntohl(first), ntohl(last), settings);
    }
  }
  final_count_ = devices_.Count();
  progress_.Finish();
  status_ = status;
  Event(status == SweepStatus::kStopped ? tvkutil::ids::kDiscoveryStopped
                                        : tvkutil::ids::kDiscoveryComplete,
        final_count_);
}

SweepStatus CDeviceDiscoveryOperation::SequentialSweep(std::stop_token stop, IDiscoveryProbe& probe,
                                                       std::uint64_t first, std::uint64_t last,
                                                       const SweepSettings& settings) {
  // A 64-bit counter: a range that ends at the top of the address space must not wrap round.
  for (std::uint64_t host = first; host <= last; ++host) {
    // Every address costs at least one pacing step, answered or not. A zero step (tests of
    // long ranges) only looks at the stop: a timed wait of nothing still costs a system call.
    if (settings.pacing.count() > 0 ? tvkutil::SleepUnlessStopped(stop, settings.pacing)
                                    : stop.stop_requested())
      return SweepStatus::kStopped;
    if (devices_.Count() >= kMaxDevices) {
      LimitReached();
      return SweepStatus::kComplete;
    }
    const auto host32 = static_cast<std::uint32_t>(host);
    if (!probe.Ping(htonl(host32), settings.timeout_ms, settings.retries, stop)) {
      AddressDone(settings);
      continue;
    }
    progress_.AddFound();
    CDeviceInfo device = Device(host32, probe.ReverseName(htonl(host32)));
    if (settings.found)
      settings.found(device);
    devices_.Append(std::move(device));
    AddressDone(settings);
  }
  return SweepStatus::kComplete;
}

SweepStatus CDeviceDiscoveryOperation::FastSweep(std::stop_token stop,
                                                 const std::shared_ptr<IDiscoveryProbe>& probe,
                                                 std::uint64_t first, std::uint64_t last,
                                                 const SweepSettings& settings) {
  if (!probe->CanSend())
    return SequentialSweep(stop, *probe, first, last, settings);  // paces through, finds nothing

  CNameBatch names(lookups_, probe, devices_, settings.found);
  std::size_t found = 0;
  net::CIcmpSweep sweep(*probe, {.timeout = std::chrono::milliseconds(settings.timeout_ms),
                                 .attempts = std::max(settings.retries, 0) + 1,
                                 .pacing = settings.pacing});
  const net::CIcmpSweep::End end = sweep.Run(
      static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last), stop,
      [&](std::uint32_t address) {
        if (found >= kMaxDevices)
          return false;
        net::LogEchoSent(transactions_, kDiscoverySource, address);
        return true;
      },
      [&](const net::EchoOutcome& outcome) {
        net::LogEchoOutcome(transactions_, kDiscoverySource, outcome.address, outcome.status,
                            outcome.data_size, outcome.round_trip_ms);
        AddressDone(settings);
        if (outcome.status != net::kEchoSuccess)
          return true;
        if (found >= kMaxDevices)
          return false;
        ++found;
        progress_.AddFound();
        names.Add(ntohl(outcome.address));
        return true;
      });
  if (end == net::CIcmpSweep::End::kStopped) {
    names.Abandon();
    return SweepStatus::kStopped;
  }
  if (end == net::CIcmpSweep::End::kEnded)
    LimitReached();
  return names.Finish(stop) ? SweepStatus::kComplete : SweepStatus::kStopped;
}

std::wstring CDeviceDiscoveryOperation::LastStatusLine() const {
  const SweepStatus status = status_.load();
  if (status == SweepStatus::kNone)
    return {};
  return tvkutil::FormatN(
      tvkutil::LoadString(status == SweepStatus::kStopped ? tvkutil::ids::kDiscoveryStopped
                                                          : tvkutil::ids::kDiscoveryComplete),
      tvkutil::kMaxLogLineLen, final_count_.load());
}

std::string CDeviceDiscoveryOperation::ResultsText() const {
  using tvkutil::LoadString;
  namespace ids = tvkutil::ids;
  const std::wstring header =
      tvkutil::FormatN(L"%s,%s,%s", SIZE_MAX, LoadString(ids::kColumnNumber),
                       LoadString(ids::kColumnIp), LoadString(ids::kColumnDescription));
  const auto rows = devices_.WithAll([](const std::vector<CDeviceInfo>& devices) {
    std::vector<std::wstring> out;
    out.reserve(devices.size());
    for (std::size_t i = 0; i < devices.size(); ++i) {
      out.push_back(CsvField(std::to_wstring(i + 1), true) + L"," + CsvField(devices[i].ip, true) +
                    L"," + CsvField(devices[i].description, true) + L",");
    }
    return out;
  });
  return ResultsFileText(LoadString(ids::kDiscoveryStarted), header, rows, LastStatusLine());
}

std::error_code CDeviceDiscoveryOperation::SaveResults(const std::filesystem::path& path) const {
  return WriteResultsFile(path, ResultsText());
}

void CDeviceDiscoveryOperation::StoreTo(app::DiscoverySettings& settings) const {
  if (!net::IsValidIPv4Text(form_.start_ip) || !net::IsValidIPv4Text(form_.end_ip))
    return;
  settings.start_ip = form_.start_ip;
  settings.end_ip = form_.end_ip;
}

}  // namespace pages
