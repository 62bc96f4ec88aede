// CTransactionLogView: the transaction log pane of the main window. It owns the transaction
// log, makes it the one LogTransaction writes to while the pane exists, and shows its rows
// white on black as Date, Time, Source and Transaction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "logs/log_table_view.h"
#include "logs/transaction_log.h"

namespace tvkutil {
class IProfileStore;
}

namespace logs {

class CTransactionLogView : public CLogTableView {
  Q_OBJECT

 public:
  explicit CTransactionLogView(tvkutil::IProfileStore& app, QWidget* parent = nullptr);
  ~CTransactionLogView() override;

  // Any thread.
  void AddTransaction(std::int32_t direction, std::wstring_view source, const std::uint8_t* bytes,
                      std::size_t length, int is_text) {
    log_->AddTransaction(direction, source, bytes, length, is_text);
  }

  CTransactionLog& Log() const { return *log_; }

 private:
  CTransactionLog* log_;  // owned through the rows of the base
};

}  // namespace logs
