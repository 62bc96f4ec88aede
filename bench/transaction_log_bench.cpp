// What the transaction log costs a walk: the time to log one datagram (rows and the kept copy
// for decoding and export), and GetNext exchanges over loopback with and without the log.
// Run it pinned to one core (taskset -c 0) so the two walks see the same loopback path.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "logs/transaction_log.h"
#include "net/snmp_requester.h"

namespace {

using Clock = std::chrono::steady_clock;

// A GetNext of ifDescr.1 and an answer of 60 bytes, as a walk of an interface table sends them.
const std::vector<std::uint8_t> kRequest = {
    0x30, 0x29, 0x02, 0x01, 0x01, 0x04, 0x06, 0x67, 0x65, 0x74, 0x63, 0x6f, 0x6d, 0xa1, 0x1c,
    0x02, 0x02, 0x01, 0x2c, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00, 0x30, 0x10, 0x30, 0x0e, 0x06,
    0x0a, 0x2b, 0x06, 0x01, 0x02, 0x01, 0x02, 0x02, 0x01, 0x02, 0x01, 0x05, 0x00};

double NsPerDatagram(logs::CTransactionLog& log, const std::vector<std::uint8_t>& bytes,
                     bool rows_too, int count) {
  const logs::DatagramEnds ends;
  const auto start = Clock::now();
  for (int i = 0; i < count; ++i) {
    if (rows_too)
      log.AddDatagram(logs::kDirectionSent, L"walkMIB", bytes, ends);
    else
      log.Datagrams().Add(logs::kDirectionSent, L"walkMIB", bytes, ends, logs::NowMicroseconds());
    if (i % 1000 == 999)
      log.MovePending();  // the pane's timer, so pending rows stay bounded
  }
  return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / count;
}

// Answers every request on 127.0.0.1 with the request itself turned into a Response: same
// version, community, id and name, which is all the requester checks of a GetNext answer.
class EchoAgent {
 public:
  EchoAgent() : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in a{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t len = sizeof a;
    ::bind(fd_, reinterpret_cast<sockaddr*>(&a), len);
    ::getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len);
    port_ = ntohs(a.sin_port);
    thread_ = std::thread([this] { Run(); });
  }
  ~EchoAgent() {
    stop_ = true;
    thread_.join();
    ::close(fd_);
  }
  std::uint16_t Port() const { return port_; }

 private:
  void Run() {
    std::vector<std::uint8_t> buf(65535);
    while (!stop_) {
      pollfd p{fd_, POLLIN, 0};
      if (::poll(&p, 1, 20) <= 0)
        continue;
      sockaddr_storage from{};
      socklen_t from_len = sizeof from;
      const ssize_t n =
          ::recvfrom(fd_, buf.data(), buf.size(), 0, reinterpret_cast<sockaddr*>(&from), &from_len);
      if (n < 15)
        continue;
      buf[13] = 0xA2;  // the PDU tag of this message shape
      ::sendto(fd_, buf.data(), static_cast<std::size_t>(n), 0, reinterpret_cast<sockaddr*>(&from),
               from_len);
    }
  }
  int fd_;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

class CNoSink : public logs::ITransactionSink {
 public:
  void LogDatagram(std::int32_t, std::wstring_view, std::span<const std::uint8_t>,
                   const logs::DatagramEnds&) override {}
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
};

// The transaction log as it was before it kept datagrams: rows only.
class CRowsOnlySink : public logs::ITransactionSink {
 public:
  void LogDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const logs::DatagramEnds&) override {
    std::vector<std::unique_ptr<logs::CTransactionRow>> rows;
    for (auto& row : logs::SplitTransaction(direction, source, bytes.data(), bytes.size(), 0))
      rows.push_back(std::make_unique<logs::CTransactionRow>(std::move(row)));
    queue.AddAll(rows);
    if (++count % 2000 == 0)
      queue.MovePending();
  }
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
  tvkutil::CPolledList<std::unique_ptr<logs::CTransactionRow>> queue;
  int count = 0;
};

class CLogSink : public logs::ITransactionSink {
 public:
  void LogDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const logs::DatagramEnds& ends) override {
    log.AddDatagram(direction, source, bytes, ends);
    if (++count % 2000 == 0)
      log.MovePending();
  }
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
  logs::CTransactionLog log;
  int count = 0;
};

// Microseconds per GetNext exchange over `requests` requests.
double WalkUs(std::uint16_t port, logs::ITransactionSink& sink, int requests) {
  net::UdpSettings settings;
  settings.retries = 0;
  net::CSnmpRequester requester(L"127.0.0.1", port, settings, L"walkMIB", sink);
  const auto start = Clock::now();
  for (int i = 0; i < requests; ++i) {
    snmp::CSNMPMessage next(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetNextRequest),
        answer(snmp::kPduResponse);
    next.SetRequestId(i & 0xFF);
    next.AddNullVarBind(L".1.3.6.1.2.1.2.2.1.2.1");
    if (!requester.Request(next, answer).Ok())
      return -1;
  }
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / requests;
}

}  // namespace

int main() {
  std::vector<std::uint8_t> reply(kRequest);
  reply.resize(96, 0x41);
  {
    logs::CTransactionLog log;
    NsPerDatagram(log, kRequest, true, 20000);  // warm up
    std::printf("log one 43-byte datagram, rows and kept copy     %8.0f ns\n",
                NsPerDatagram(log, kRequest, true, 200000));
    std::printf("log one 96-byte datagram, rows and kept copy     %8.0f ns\n",
                NsPerDatagram(log, reply, true, 200000));
    std::printf("keep one 96-byte datagram only (the new part)    %8.0f ns\n",
                NsPerDatagram(log, reply, false, 200000));
  }
  {
    CRowsOnlySink rows;
    const auto start = Clock::now();
    for (int i = 0; i < 200000; ++i)
      rows.LogDatagram(logs::kDirectionSent, L"walkMIB", reply, {});
    std::printf("rows of one 96-byte datagram only (as before)    %8.0f ns\n",
                std::chrono::duration<double, std::nano>(Clock::now() - start).count() / 200000);
  }

  // Alternating rounds, so that a busy neighbour slows both kinds alike; the medians compare.
  EchoAgent agent;
  constexpr int kRounds = 11, kRequests = 3000;
  std::vector<double> bare, rows_only, logged;
  for (int round = 0; round < kRounds; ++round) {
    CNoSink none;
    CRowsOnlySink rows;
    CLogSink with_log;
    bare.push_back(WalkUs(agent.Port(), none, kRequests));
    rows_only.push_back(WalkUs(agent.Port(), rows, kRequests));
    logged.push_back(WalkUs(agent.Port(), with_log, kRequests));
  }
  for (auto* v : {&bare, &rows_only, &logged})
    std::sort(v->begin(), v->end());
  const double b = bare[kRounds / 2], r = rows_only[kRounds / 2], l = logged[kRounds / 2];
  std::printf("GetNext exchange over loopback, no log            %8.1f us\n", b);
  std::printf("GetNext exchange over loopback, rows only         %8.1f us  (%+.1f %%)\n", r,
              (r / b - 1) * 100);
  std::printf(
      "GetNext exchange over loopback, rows and kept     %8.1f us  (%+.1f %% over rows only)\n", l,
      (l / r - 1) * 100);
  return 0;
}
