#include "ops/device_discovery_operation.h"

#include <arpa/inet.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <system_error>
#include <unordered_map>
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

// The fast sweep's reverse lookups, on up to kLookupThreads threads started as devices are
// found. A device goes into the list, in address order, once its name is known. When the sweep
// is stopped the devices still waiting go in at once without a name, and lookups that are
// still running are no longer waited for: their threads are handed back to be joined later.
class CDeviceDiscoveryOperation::CLookupPool {
 public:
  CLookupPool(std::shared_ptr<IDiscoveryProbe> probe, tvkutil::CPolledList<CDeviceInfo>& devices,
              DeviceFoundFn found)
      : probe_(std::move(probe)), devices_(devices), shared_(std::make_shared<Shared>()) {
    shared_->found = std::move(found);
  }
  ~CLookupPool() {
    Abandon();
    for (std::thread& t : threads_)
      t.join();
  }
  CLookupPool(const CLookupPool&) = delete;
  CLookupPool& operator=(const CLookupPool&) = delete;

  void Add(std::uint32_t host) {
    bool spawn = false;
    {
      std::lock_guard lock(shared_->mutex);
      shared_->queue.push_back(host);
      shared_->pending.insert(host);
      spawn = shared_->queue.size() > shared_->idle && threads_.size() < kLookupThreads;
    }
    shared_->wake.notify_one();
    if (!spawn)
      return;
    try {
      threads_.emplace_back(&CLookupPool::Run, shared_, probe_, &devices_, false);
    } catch (const std::system_error&) {
      if (threads_.empty())
        Run(shared_, probe_, &devices_, true);  // no thread at all: look up here
    }
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
      shared_->closing = true;
    }
    shared_->wake.notify_all();
    for (std::thread& t : threads_)
      t.join();
    threads_.clear();
    return true;
  }

  // Puts every device still waiting for its name into the list without one; from now on no
  // thread touches the list.
  void Abandon() {
    {
      std::lock_guard lock(shared_->mutex);
      if (shared_->abandoned)
        return;
      shared_->abandoned = true;
      for (std::uint32_t host : shared_->pending)
        Insert(*shared_, devices_, Device(host, {}));
      shared_->pending.clear();
      shared_->queue.clear();
    }
    shared_->wake.notify_all();
  }

  std::vector<std::thread> TakeThreads() { return std::exchange(threads_, {}); }

 private:
  struct Shared {
    std::mutex mutex;
    std::condition_variable wake;  // work for the lookup threads, or the end
    std::condition_variable done;  // the last pending name is in
    std::deque<std::uint32_t> queue;
    std::set<std::uint32_t> pending;  // found and not yet in the list
    std::size_t idle = 0;
    bool closing = false;
    bool abandoned = false;
    DeviceFoundFn found;
  };

  // Under the shared lock, so nothing goes in once the pool is abandoned.
  static void Insert(const Shared& shared, tvkutil::CPolledList<CDeviceInfo>& devices,
                     CDeviceInfo device) {
    if (shared.found)
      shared.found(device);
    devices.InsertSorted(std::move(device), ByAddress);
  }

  // One lookup thread. Everything it uses is shared or outlives it: the operation joins
  // abandoned threads before its list goes.
  static void Run(std::shared_ptr<Shared> shared, std::shared_ptr<IDiscoveryProbe> probe,
                  tvkutil::CPolledList<CDeviceInfo>* devices, bool inline_only) {
    std::unique_lock lock(shared->mutex);
    for (;;) {
      if (inline_only && shared->queue.empty())
        return;
      ++shared->idle;
      shared->wake.wait(
          lock, [&] { return shared->abandoned || shared->closing || !shared->queue.empty(); });
      --shared->idle;
      if (shared->abandoned || shared->queue.empty())
        return;
      const std::uint32_t host = shared->queue.front();
      shared->queue.pop_front();
      lock.unlock();
      std::wstring name = probe->ReverseName(htonl(host));
      lock.lock();
      if (shared->abandoned)
        return;
      Insert(*shared, *devices, Device(host, std::move(name)));
      shared->pending.erase(host);
      if (shared->pending.empty())
        shared->done.notify_all();
    }
  }

  std::shared_ptr<IDiscoveryProbe> probe_;
  tvkutil::CPolledList<CDeviceInfo>& devices_;
  std::shared_ptr<Shared> shared_;
  std::vector<std::thread> threads_;
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
  for (std::thread& t : abandoned_lookups_)
    t.join();
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
  for (std::thread& t : abandoned_lookups_)
    t.join();
  abandoned_lookups_.clear();
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
                                                 const std::shared_ptr<IDiscoveryProbe>& probe_ptr,
                                                 std::uint64_t first, std::uint64_t last,
                                                 const SweepSettings& settings) {
  IDiscoveryProbe& probe = *probe_ptr;
  if (!probe.CanSend())
    return SequentialSweep(stop, probe, first, last, settings);  // paces through, finds nothing

  const auto timeout = std::chrono::milliseconds(std::max(settings.timeout_ms, 0));
  const int attempts = std::max(settings.retries, 0) + 1;
  struct Echo {
    std::uint32_t host;
    int attempts_left;  // after this one
    Clock::time_point sent_at;
  };
  // The echoes waiting for an answer, by the sequence number of each address's latest echo,
  // and their deadlines in the order they fall (all echoes wait equally long).
  std::unordered_map<std::uint16_t, Echo> in_flight;
  std::deque<std::pair<Clock::time_point, std::uint16_t>> deadlines;
  CLookupPool lookups(probe_ptr, devices_, settings.found);
  std::size_t found = 0;

  // Each address has exactly one outcome: answered, refused, or out of attempts.
  const auto outcome = [&](std::uint32_t host, std::int32_t status, int size, int round_trip_ms) {
    net::LogEchoOutcome(transactions_, kDiscoverySource, htonl(host), status, size, round_trip_ms);
    AddressDone(settings);
  };
  // The next echo of `host`. One the system refuses at once uses up its attempt at once, as in
  // a ping.
  const auto send = [&](std::uint32_t host, int attempts_left) {
    for (;;) {
      std::uint16_t sequence = 0;
      const Clock::time_point now = Clock::now();
      const std::int32_t status = probe.Send(htonl(host), sequence);
      if (status == net::kEchoSuccess) {
        if (const auto old = in_flight.find(sequence); old != in_flight.end()) {
          // The numbers came round while an echo still waited: it can no longer be told apart.
          outcome(old->second.host, net::kEchoTimedOut, 0, 0);
          in_flight.erase(old);
        }
        in_flight.emplace(sequence, Echo{host, attempts_left - 1, now});
        deadlines.emplace_back(now + timeout, sequence);
        return;
      }
      if (status != net::kEchoGeneralFailure || attempts_left <= 1) {
        outcome(host, status, 0, 0);
        return;
      }
      --attempts_left;
    }
  };
  // Stop or limit: the echoes still waiting count as not answered, the names still missing
  // are no longer waited for.
  const auto end_early = [&] {
    std::vector<std::uint32_t> hosts;
    for (const auto& [sequence, echo] : in_flight)
      hosts.push_back(echo.host);
    std::sort(hosts.begin(), hosts.end());
    for (std::uint32_t host : hosts)
      outcome(host, net::kEchoTimedOut, 0, 0);
    in_flight.clear();
  };
  const auto stopped = [&] {
    end_early();
    lookups.Abandon();
    for (std::thread& t : lookups.TakeThreads())
      abandoned_lookups_.push_back(std::move(t));
    return SweepStatus::kStopped;
  };
  const auto limit_reached = [&] {
    end_early();
    LimitReached();
    return lookups.Finish(stop) ? SweepStatus::kComplete : stopped();
  };

  std::uint64_t next = first;
  Clock::time_point next_due = Clock::now();
  for (;;) {
    const Clock::time_point now = Clock::now();
    while (!deadlines.empty() && deadlines.front().first <= now) {
      const auto [deadline, sequence] = deadlines.front();
      deadlines.pop_front();
      const auto it = in_flight.find(sequence);
      if (it == in_flight.end() || it->second.sent_at + timeout != deadline)
        continue;  // answered, or the number now belongs to a later echo
      const Echo echo = it->second;
      in_flight.erase(it);
      if (echo.attempts_left > 0)
        send(echo.host, echo.attempts_left);
      else
        outcome(echo.host, net::kEchoTimedOut, 0, 0);
    }

    if (stop.stop_requested())
      return stopped();
    if (next <= last && now >= next_due) {
      if (found >= kMaxDevices)
        return limit_reached();
      const auto host = static_cast<std::uint32_t>(next++);
      next_due = Clock::now() + settings.pacing;
      net::LogEchoSent(transactions_, kDiscoverySource, htonl(host));
      send(host, attempts);
    }
    if (next > last && in_flight.empty())
      break;

    // Answers until the next first echo is due, or once all have gone the next deadline. While
    // first echoes still go out, a deadline waits for the next of them (a retry goes at most
    // one pacing step late): one wake-up a step keeps the pacing steady.
    Clock::time_point until = Clock::now() + tvkutil::kStopPollSlice;
    if (next <= last)
      until = std::min(until, next_due);
    else if (!deadlines.empty())
      until = std::min(until, deadlines.front().first);
    bool over_limit = false;
    for (const net::EchoAnswer& answer : probe.Receive(until)) {
      const auto it = in_flight.find(answer.sequence);
      // An answer after the echo's time-out counts for nothing, even before the deadline has
      // been dealt with.
      if (it == in_flight.end() || htonl(it->second.host) != answer.address ||
          answer.received_at - it->second.sent_at > timeout) {
        continue;
      }
      const Echo echo = it->second;
      in_flight.erase(it);
      if (answer.status != net::kEchoSuccess) {
        // An ICMP error about the echo ends the address's attempts, as in a ping.
        outcome(echo.host, answer.status, 0, 0);
        continue;
      }
      outcome(echo.host, net::kEchoSuccess, answer.data_size,
              static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   answer.received_at - echo.sent_at)
                                   .count()));
      if (found >= kMaxDevices) {
        over_limit = true;
        continue;
      }
      ++found;
      progress_.AddFound();
      lookups.Add(echo.host);
    }
    if (over_limit)
      return limit_reached();
  }
  return lookups.Finish(stop) ? SweepStatus::kComplete : stopped();
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
