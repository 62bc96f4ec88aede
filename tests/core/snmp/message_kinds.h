// Messages built from their bindings, as the program builds them.
#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "snmp/snmp_message.h"
#include "snmp/type_names.h"

namespace snmp {

using Bind = std::tuple<std::wstring, std::uint32_t, std::wstring>;  // name, value tag, text

inline auto MakeMessage(std::int32_t version, const wchar_t* community, std::uint32_t pdu,
                        std::int32_t id, const std::vector<Bind>& binds) {
  auto m = std::make_unique<CSNMPMessage>(version, community, pdu);
  m->SetRequestId(id);
  for (const auto& [name, tag, text] : binds)
    m->AddVarBind(name, tag, text);
  return m;
}

}  // namespace snmp
