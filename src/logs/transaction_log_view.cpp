#include "logs/transaction_log_view.h"

#include "logs/log_entry_points.h"
#include "util/string_table.h"

namespace logs {

namespace {

namespace ids = tvkutil::ids;

constexpr int kTextColumn = 3;

// The transaction log while its pane exists.
class CTransactionRows : public CRegisteredRows<CTransactionLog, RegisterTransactionLog> {
 public:
  // Continuation rows of a message leave date, time and source empty.
  QString CellText(std::size_t index, int column) const override {
    const CTransactionRow& row = log_.Shown(index);
    if (column == kTextColumn)
      return QString::fromStdWString(row.text);
    if (!row.first_row)
      return {};
    switch (column) {
      case 0:
        return QString::fromStdWString(DateText(row.stamp));
      case 1:
        return QString::fromStdWString(TimeText(row.stamp));
      default:
        return QString::fromStdWString(SourceColumnText(row));
    }
  }
};

LogPaneLayout TransactionLayout() {
  return LogPaneLayout{
      "transactionLogTable",
      L"Transaction View",
      {ids::kColumnDate, ids::kColumnTime, ids::kColumnSource, ids::kColumnTransaction},
      3,  // the last column takes the rest of the width and is not kept
      ids::kTransactionLogReset,
      ids::kTransactionLogSave,
      ids::kTransactionLogFilter,
      ids::kTransactionLogExtension,
      &tvkutil::AppFolders::transaction_log_folder,
      true,
      kTextColumn};
}

}  // namespace

CTransactionLogView::CTransactionLogView(tvkutil::IProfileStore& app, QWidget* parent)
    : CLogTableView(app, TransactionLayout(), std::make_unique<CTransactionRows>(), parent),
      log_(&static_cast<CTransactionRows&>(Rows()).TheLog()) {}

CTransactionLogView::~CTransactionLogView() = default;

}  // namespace logs
