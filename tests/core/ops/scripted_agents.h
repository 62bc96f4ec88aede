// Scripted agents the operation and CLI tests share: one that never answers, one that answers
// every request alike.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/request_reader.h"

namespace testing_support {

inline FakeAgent Silent() {
  return FakeAgent([](const FakeAgent::Datagram&, int) { return std::vector<FakeAgent::Reply>{}; });
}

// Answers in the version, community and id its own reader found, with `binds` (empty: the name
// asked for, Null) and `status`, whose index then points at the first binding.
inline FakeAgent Answering(Bytes binds, std::uint32_t status = 0) {
  return FakeAgent([binds = std::move(binds), status](const FakeAgent::Datagram& d, int) {
    const ReadRequest r = ReadRequestFields(d.bytes);
    return std::vector<FakeAgent::Reply>{
        {Response(r.version, r.community, r.id, status, status != 0 ? 1 : 0,
                  binds.empty() ? VarBind(r.oid, Hex("05 00")) : binds)}};
  });
}

}  // namespace testing_support
