// CTransactionLogView: the transaction log pane of the main window. It owns the transaction
// log, makes it the one LogTransaction writes to while the pane exists, and shows its rows
// white on black as Date, Time, Source and Transaction. Below the rows, the decoded view of the
// selected row's message appears (switched in the View menu); the context menu exports the
// kept datagrams as a pcapng capture file.
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "logs/transaction_log.h"
#include "ui/logs/log_table_view.h"

class QSplitter;

namespace tvkutil {
class IProfileStore;
}

namespace logs {

class CDecodedMessageView;

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
  CDecodedMessageView* DecodedView() const { return decoded_; }

  // The View menu's switch: while it is on, selecting a row shows its message decoded below the
  // rows; the pane stays hidden while no row is selected. Kept in the profile.
  bool DecodedPaneEnabled() const { return decoded_enabled_; }
  void SetDecodedPaneEnabled(bool on);

  // "Export as &pcapng…": the save dialog, then ExportTo.
  void ExportWithDialog();
  // Writes every kept datagram to `path`; on failure tells the user and answers false.
  bool ExportTo(const QString& path);

 protected:
  void AddMenuCommands(QMenu& menu) override;

 private:
  void ShowSelectedRow();
  void MakeRoomForDecodedPane();

  CTransactionLog* log_;  // owned through the rows of the base
  QSplitter* split_ = nullptr;
  CDecodedMessageView* decoded_ = nullptr;
  bool decoded_enabled_ = true;
  bool sized_ = false;                // the decoded pane got its room once
  std::uint64_t decoded_number_ = 0;  // the datagram the pane shows, 0 for none
};

}  // namespace logs
