// Messages per second for the two codec paths every request takes: encoding a GetRequest, and
// decoding plus checking a one-binding GetResponse that carries an OCTET STRING of 60 bytes.
#include <chrono>
#include <cstdio>

#include "codec_work.h"

namespace {

using Clock = std::chrono::steady_clock;

template <typename Fn>
void Measure(const char* what, Fn&& fn) {
  // Warm up, then run for about one second in batches.
  for (int i = 0; i < 10000; ++i)
    fn();
  long count = 0;
  const auto start = Clock::now();
  auto now = start;
  while (now - start < std::chrono::seconds(1)) {
    for (int i = 0; i < 10000; ++i)
      fn();
    count += 10000;
    now = Clock::now();
  }
  const double secs = std::chrono::duration<double>(now - start).count();
  std::printf("%-52s %12.0f msg/s  (%.0f ns/msg)\n", what, count / secs, secs * 1e9 / count);
}

}  // namespace

int main() {
  bench::CCodecWork work;
  if (work.Reply().empty())
    return 1;
  std::int32_t id = 0;
  long sink = 0;
  Measure("encode GetRequest (1 binding, community getcom)",
          [&] { sink += static_cast<long>(work.EncodeGet(id++ & 0xFF)); });
  Measure("decode + check GetResponse (OCTET STRING, 60 bytes)",
          [&] { sink += work.DecodeReply().Ok() ? 1 : 0; });
  std::printf("(reply is %zu bytes; checksum %ld)\n", work.Reply().size(), sink);
  return 0;
}
