#include "net/icmp_sweep.h"

#include <arpa/inet.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <unordered_map>
#include <utility>

#include "util/runner.h"

namespace net {

namespace {

using Clock = EchoClock;

struct Echo {
  std::uint32_t host;  // host byte order
  int attempts_left;   // after this one
  Clock::time_point sent_at;
};

// One run's state: the echoes waiting for an answer, by the sequence number of each address's
// latest echo, and their deadlines in the order they fall (all echoes wait equally long).
class CSweepRun {
 public:
  CSweepRun(IEchoPort& port, std::chrono::milliseconds timeout,
            const CIcmpSweep::OutcomeFn& outcome)
      : port_(port), timeout_(timeout), outcome_(outcome) {}

  // A false from the outcome callback is kept until the caller looks.
  bool EndAsked() const { return end_asked_; }
  bool Waiting() const { return !in_flight_.empty(); }
  std::optional<Clock::time_point> NextDeadline() const {
    if (deadlines_.empty())
      return std::nullopt;
    return deadlines_.front().first;
  }

  // The next echo of `host`. One the system refuses at once uses up its attempt at once, as in
  // a ping.
  void Send(std::uint32_t host, int attempts_left) {
    for (;;) {
      std::uint16_t sequence = 0;
      const Clock::time_point now = Clock::now();
      const std::int32_t status = port_.Send(htonl(host), sequence);
      if (status == kEchoSuccess) {
        if (const auto old = in_flight_.find(sequence); old != in_flight_.end()) {
          // The numbers came round while an echo still waited: it can no longer be told apart.
          Report(old->second.host, kEchoTimedOut);
          in_flight_.erase(old);
        }
        in_flight_.emplace(sequence, Echo{host, attempts_left - 1, now});
        deadlines_.emplace_back(now + timeout_, sequence);
        return;
      }
      if (status != kEchoGeneralFailure || attempts_left <= 1) {
        Report(host, status);
        return;
      }
      --attempts_left;
    }
  }

  // Deadlines that have passed: the next attempt, or the address is out of them.
  void ExpireDeadlines(Clock::time_point now) {
    while (!deadlines_.empty() && deadlines_.front().first <= now) {
      const auto [deadline, sequence] = deadlines_.front();
      deadlines_.pop_front();
      const auto it = in_flight_.find(sequence);
      if (it == in_flight_.end() || it->second.sent_at + timeout_ != deadline)
        continue;  // answered, or the number now belongs to a later echo
      const Echo echo = it->second;
      in_flight_.erase(it);
      if (echo.attempts_left > 0)
        Send(echo.host, echo.attempts_left);
      else
        Report(echo.host, kEchoTimedOut);
    }
  }

  void TakeAnswers(Clock::time_point until) {
    for (const EchoAnswer& answer : port_.Receive(until)) {
      const auto it = in_flight_.find(answer.sequence);
      // An answer after the echo's time-out counts for nothing, even before the deadline has
      // been dealt with.
      if (it == in_flight_.end() || htonl(it->second.host) != answer.address ||
          answer.received_at - it->second.sent_at > timeout_) {
        continue;
      }
      const Echo echo = it->second;
      in_flight_.erase(it);
      if (answer.status != kEchoSuccess) {
        // An ICMP error about the echo ends the address's attempts, as in a ping.
        Report(echo.host, answer.status);
        continue;
      }
      Report(echo.host, kEchoSuccess, answer.data_size,
             static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                  answer.received_at - echo.sent_at)
                                  .count()));
    }
  }

  // Ended early: the echoes still waiting count as not answered.
  void GiveUpWaiting() {
    std::vector<std::uint32_t> hosts;
    for (const auto& [sequence, echo] : in_flight_)
      hosts.push_back(echo.host);
    std::sort(hosts.begin(), hosts.end());
    for (std::uint32_t host : hosts)
      Report(host, kEchoTimedOut);
    in_flight_.clear();
  }

 private:
  void Report(std::uint32_t host, std::int32_t status, int data_size = 0, int round_trip_ms = 0) {
    if (!outcome_(EchoOutcome{htonl(host), status, data_size, round_trip_ms}))
      end_asked_ = true;
  }

  IEchoPort& port_;
  const std::chrono::milliseconds timeout_;
  const CIcmpSweep::OutcomeFn& outcome_;
  std::unordered_map<std::uint16_t, Echo> in_flight_;
  std::deque<std::pair<Clock::time_point, std::uint16_t>> deadlines_;
  bool end_asked_ = false;
};

}  // namespace

CIcmpSweep::End CIcmpSweep::Run(std::uint32_t first, std::uint32_t last, std::stop_token stop,
                                const FirstEchoFn& first_echo, const OutcomeFn& outcome) {
  const auto timeout = std::max(settings_.timeout, std::chrono::milliseconds(0));
  const int attempts = std::max(settings_.attempts, 1);
  CSweepRun run(port_, timeout, outcome);
  const auto end_early = [&](End end) {
    run.GiveUpWaiting();
    return end;
  };

  // A 64-bit counter: a range that ends at the top of the address space must not wrap round.
  std::uint64_t next = first;
  Clock::time_point next_due = Clock::now();
  for (;;) {
    const Clock::time_point now = Clock::now();
    run.ExpireDeadlines(now);

    if (stop.stop_requested())
      return end_early(End::kStopped);
    if (next <= last && now >= next_due) {
      const auto host = static_cast<std::uint32_t>(next);
      if (!first_echo(htonl(host)))
        return end_early(End::kEnded);
      ++next;
      next_due = Clock::now() + settings_.pacing;
      run.Send(host, attempts);
    }
    if (next > last && !run.Waiting())
      break;

    // Answers until the next first echo is due, or once all have gone the next deadline. While
    // first echoes still go out, a deadline waits for the next of them (a retry goes at most
    // one pacing step late): one wake-up a step keeps the pacing steady.
    Clock::time_point until = Clock::now() + tvkutil::kStopPollSlice;
    if (next <= last)
      until = std::min(until, next_due);
    else if (const auto deadline = run.NextDeadline())
      until = std::min(until, *deadline);
    run.TakeAnswers(until);
    if (run.EndAsked())
      return end_early(End::kEnded);
  }
  return End::kComplete;
}

}  // namespace net
