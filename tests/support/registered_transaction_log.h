// A transaction log that LogTransaction writes to for as long as the object lives.
#pragma once

#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"

namespace sondara_test {

struct RegisteredTransactionLog {
  RegisteredTransactionLog() { logs::RegisterTransactionLog(&log); }
  ~RegisteredTransactionLog() { logs::RegisterTransactionLog(nullptr); }

  // The texts of the first rows, one per message.
  std::vector<std::wstring> Messages() {
    log.MovePending();
    std::vector<std::wstring> out;
    for (std::size_t i = 0; i < log.ShownCount(); ++i) {
      if (log.Shown(i).first_row)
        out.push_back(log.Shown(i).text);
    }
    return out;
  }
  logs::CTransactionLog log;
};

}  // namespace sondara_test
