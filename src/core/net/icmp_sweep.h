// CIcmpSweep: pings a range of IPv4 addresses without waiting for each answer. The first echo of
// each address goes one pacing step after the last; answers are matched to their addresses by
// sequence number; every address still gets its time-out and all its attempts. Each address
// ends with exactly one outcome: answered (with its round trip), refused (an ICMP error, or the
// system would not send), or out of attempts.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <vector>

#include "net/icmp_echo.h"

namespace net {

// What a sweep sends through: the sweep's CIcmpEchoSocket, or a stand-in in tests.
class IEchoPort {
 public:
  virtual ~IEchoPort() = default;
  // Whether echoes can be sent at all; then as CIcmpEchoSocket::Send and Receive.
  virtual bool CanSend() const = 0;
  virtual std::int32_t Send(std::uint32_t address, std::uint16_t& out_sequence) = 0;
  virtual std::vector<EchoAnswer> Receive(EchoClock::time_point until) = 0;
};

// The one outcome of one address.
struct EchoOutcome {
  std::uint32_t address = 0;  // network byte order
  std::int32_t status = kEchoTimedOut;
  int data_size = 0;      // echo data bytes of a reply
  int round_trip_ms = 0;  // of a reply
};

struct IcmpSweepSettings {
  std::chrono::milliseconds timeout{1000};  // per echo
  int attempts = 4;                         // echoes per address at most, at least one
  std::chrono::milliseconds pacing{10};     // between the first echoes of two addresses
};

class CIcmpSweep {
 public:
  // Before the first echo of an address (network byte order): false ends the sweep before it.
  using FirstEchoFn = std::function<bool(std::uint32_t address)>;
  // Each outcome as it is known: false ends the sweep once the answers at hand are reported.
  using OutcomeFn = std::function<bool(const EchoOutcome&)>;

  enum class End { kComplete, kStopped, kEnded };

  CIcmpSweep(IEchoPort& port, const IcmpSweepSettings& settings)
      : port_(port), settings_(settings) {}

  // Sweeps `first` to `last`, both in host byte order, so that they count. Returns once every
  // address has its outcome (kComplete), when `stop` is raised (kStopped, within
  // tvkutil::kStopPollSlice) or when a callback said so (kEnded). Ended early, every echo still
  // waiting is reported out of attempts, in address order, and addresses not yet pinged are
  // not reported at all.
  End Run(std::uint32_t first, std::uint32_t last, std::stop_token stop,
          const FirstEchoFn& first_echo, const OutcomeFn& outcome);

 private:
  IEchoPort& port_;
  IcmpSweepSettings settings_;
};

}  // namespace net
