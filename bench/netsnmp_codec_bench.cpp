// Our codec against libnetsnmp, side by side in one run, on the two paths every request takes:
//   encode: a GetRequest for sysDescr.0 (ours from its text; theirs snmp_pdu_create +
//           snmp_add_null_var + snmp_build + snmp_free_pdu);
//   decode: the same one-binding GetResponse (ours decoded and checked against the request;
//           theirs snmp_parse into a fresh PDU + snmp_free_pdu).
// The two sides take turns in short pairs (20 ms each, the order swapped every pair) so that the
// machine's slower and faster moments, which on a shared VM swing the rates by half within a
// second, hit both halves of a pair alike; each ratio is the median of the pairs' ratios, each
// rate the median of its turns. A bench only: the library is never linked into the programs or
// the tests.
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "codec_work.h"

namespace {

using Clock = std::chrono::steady_clock;

// Messages per second of `fn` over about `seconds`, in batches of 1,000.
template <typename Fn>
double Rate(Fn&& fn, double seconds) {
  long count = 0;
  const auto start = Clock::now();
  auto now = start;
  while (std::chrono::duration<double>(now - start).count() < seconds) {
    for (int i = 0; i < 1000; ++i)
      fn();
    count += 1000;
    now = Clock::now();
  }
  return static_cast<double>(count) / std::chrono::duration<double>(now - start).count();
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.size() % 2 != 0 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

class CNetSnmpWork {
 public:
  CNetSnmpWork() : packet_(static_cast<u_char*>(std::malloc(kPacketLen))) {
    snmp_sess_init(&session_);
    session_.version = SNMP_VERSION_1;
    session_.community = reinterpret_cast<u_char*>(const_cast<char*>("getcom"));
    session_.community_len = 6;
  }
  ~CNetSnmpWork() { std::free(packet_); }
  CNetSnmpWork(const CNetSnmpWork&) = delete;
  CNetSnmpWork& operator=(const CNetSnmpWork&) = delete;

  std::size_t EncodeGet(long request_id) {
    netsnmp_pdu* pdu = snmp_pdu_create(SNMP_MSG_GET);
    pdu->version = SNMP_VERSION_1;
    pdu->reqid = request_id;
    pdu->community = static_cast<u_char*>(netsnmp_memdup("getcom", 6));
    pdu->community_len = 6;
    snmp_add_null_var(pdu, kSysDescr, sizeof kSysDescr / sizeof kSysDescr[0]);
    std::size_t len = kPacketLen, offset = 0;
    const int rc = snmp_build(&packet_, &len, &offset, &session_, pdu);
    snmp_free_pdu(pdu);
    return rc == 0 ? offset : 0;
  }

  // The encoded GetRequest; the first EncodeGet's bytes start here (reverse encoding fills the
  // buffer from its end).
  const u_char* Packet(std::size_t encoded_len) const {
    return netsnmp_ds_get_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_REVERSE_ENCODE)
               ? packet_ + kPacketLen - encoded_len
               : packet_;
  }

  int DecodeReply(std::vector<u_char>& reply) {
    netsnmp_pdu* pdu = snmp_pdu_create(0);
    const int rc = snmp_parse(nullptr, &session_, pdu, reply.data(), reply.size());
    const int status = rc == 0 && pdu->command == SNMP_MSG_RESPONSE && pdu->variables != nullptr
                           ? static_cast<int>(pdu->errstat)
                           : -1;
    snmp_free_pdu(pdu);
    return status;
  }

 private:
  static constexpr std::size_t kPacketLen = 65535;
  static constexpr oid kSysDescr[] = {1, 3, 6, 1, 2, 1, 1, 1, 0};
  netsnmp_session session_{};
  u_char* packet_;
};

std::vector<std::uint8_t> BytesOf(const u_char* bytes, std::size_t len) {
  return {bytes, bytes + len};
}

}  // namespace

int main(int argc, char** argv) {
  const int pairs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 101;
  constexpr double kTurnSeconds = 0.02;
  bench::CCodecWork ours;
  CNetSnmpWork theirs;
  std::vector<u_char> reply(ours.Reply().begin(), ours.Reply().end());

  // Both must do the same work: the same request bytes, and a reply both read as a good answer.
  const std::size_t their_len = theirs.EncodeGet(bench::kReplyRequestId);
  std::vector<std::uint8_t> our_bytes(snmp::kMessageBufferLen);
  snmp::CSNMPMessage get(snmp::kSnmpVersion1, bench::kCommunity, snmp::kPduGetRequest);
  get.SetRequestId(bench::kReplyRequestId);
  get.AddNullVarBind(bench::kSysDescrText);
  std::span<const std::uint8_t> mine;
  if (their_len == 0 || !get.EncodeInto(our_bytes, mine) ||
      BytesOf(theirs.Packet(their_len), their_len) != std::vector(mine.begin(), mine.end())) {
    std::fprintf(stderr, "the two GetRequests differ\n");
    return 1;
  }
  if (!ours.DecodeReply().Ok() || theirs.DecodeReply(reply) != 0) {
    std::fprintf(stderr, "the GetResponse does not read as a good answer\n");
    return 1;
  }

  long sink = 0;
  std::int32_t id = 0;
  long their_id = 0;
  const auto enc_ours = [&] { sink += static_cast<long>(ours.EncodeGet(id++ & 0xFF)); };
  const auto enc_theirs = [&] { sink += static_cast<long>(theirs.EncodeGet(their_id++ & 0xFF)); };
  const auto dec_ours = [&] { sink += ours.DecodeReply().Ok() ? 1 : 0; };
  const auto dec_theirs = [&] { sink += theirs.DecodeReply(reply) == 0 ? 1 : 0; };
  // One pair: both sides' rates, the first side swapped on odd pairs.
  const auto pair = [&](int p, auto&& a, auto&& b, std::vector<double>& ra, std::vector<double>& rb,
                        std::vector<double>& ratio) {
    double x = 0, y = 0;
    if (p % 2 == 0) {
      x = Rate(a, kTurnSeconds);
      y = Rate(b, kTurnSeconds);
    } else {
      y = Rate(b, kTurnSeconds);
      x = Rate(a, kTurnSeconds);
    }
    ra.push_back(x);
    rb.push_back(y);
    ratio.push_back(x / y);
  };
  std::vector<double> eo_r, et_r, er, do_r, dt_r, dr;
  for (int p = 0; p < pairs; ++p) {
    pair(p, enc_ours, enc_theirs, eo_r, et_r, er);
    pair(p, dec_ours, dec_theirs, do_r, dt_r, dr);
  }
  const double eo = Median(eo_r), et = Median(et_r);
  const double d_o = Median(do_r), dt = Median(dt_r);
  std::printf("%-44s %12.0f msg/s  (%.0f ns/msg)\n", "encode GetRequest, ours", eo, 1e9 / eo);
  std::printf("%-44s %12.0f msg/s  (%.0f ns/msg)\n", "encode GetRequest, libnetsnmp", et, 1e9 / et);
  std::printf("%-44s %12.0f msg/s  (%.0f ns/msg)\n", "decode + check GetResponse, ours", d_o,
              1e9 / d_o);
  std::printf("%-44s %12.0f msg/s  (%.0f ns/msg)\n", "decode GetResponse, libnetsnmp", dt,
              1e9 / dt);
  std::printf("encode ratio (ours / libnetsnmp)          %6.2fx\n", Median(er));
  std::printf("decode + check ratio (ours / libnetsnmp)  %6.2fx\n", Median(dr));
  std::printf("(medians of %d pairs of %.0f ms turns; reply is %zu bytes; checksum %ld)\n", pairs,
              kTurnSeconds * 1000, reply.size(), sink);
  return 0;
}
