#include "ui/logs/transaction_log_view.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLayout>
#include <QMenu>
#include <QSplitter>
#include <QTableView>

#include "logs/log_entry_points.h"
#include "logs/pcapng_file.h"
#include "ui/logs/decoded_message_view.h"
#include "ui/message_box_dialog.h"
#include "ui/save_file_dialog.h"
#include "ui/text_conversion.h"
#include "util/string_table.h"

namespace logs {

namespace {

namespace ids = tvkutil::ids;

constexpr int kTextColumn = 3;
constexpr wchar_t kSection[] = L"Transaction View";
constexpr wchar_t kDecodedKey[] = L"ShowDecodedMessage";

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
      kSection,
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
      log_(&static_cast<CTransactionRows&>(Rows()).TheLog()) {
  decoded_enabled_ = Profile().GetProfileInt(kSection, kDecodedKey, 1) != 0;
  // The rows and, below them, the decoded message share the pane.
  split_ = new QSplitter(Qt::Vertical, this);
  split_->setChildrenCollapsible(false);
  layout()->removeWidget(Table());
  split_->addWidget(Table());
  decoded_ = new CDecodedMessageView(split_);
  decoded_->setObjectName(QStringLiteral("decodedMessage"));
  decoded_->hide();
  split_->addWidget(decoded_);
  layout()->addWidget(split_);

  connect(Table()->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          &CTransactionLogView::ShowSelectedRow);
  connect(Table()->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &CTransactionLogView::ShowSelectedRow);
  connect(Table()->model(), &QAbstractItemModel::modelReset, this,
          &CTransactionLogView::ShowSelectedRow);
}

CTransactionLogView::~CTransactionLogView() {
  Profile().WriteProfileInt(kSection, kDecodedKey, decoded_enabled_ ? 1 : 0);
}

void CTransactionLogView::SetDecodedPaneEnabled(bool on) {
  decoded_enabled_ = on;
  ShowSelectedRow();
}

void CTransactionLogView::ShowSelectedRow() {
  const QItemSelectionModel* selection = Table()->selectionModel();
  const QModelIndex current = selection->currentIndex();
  const bool selected = current.isValid() && selection->isRowSelected(current.row(), {}) &&
                        static_cast<std::size_t>(current.row()) < log_->ShownCount();
  if (!selected || !decoded_enabled_) {
    decoded_->hide();
    return;
  }
  if (decoded_->isHidden()) {
    decoded_->show();
    if (!sized_) {
      MakeRoomForDecodedPane();
      sized_ = true;
    }
  }
  const CTransactionRow& row = log_->Shown(static_cast<std::size_t>(current.row()));
  if (row.datagram != 0 && row.datagram == decoded_number_)
    return;  // another row of the message already shown
  decoded_number_ = row.datagram;
  if (row.datagram == 0) {
    decoded_->ShowNote(tvkutil::UiText(tvkutil::ids::kDecodedTextRow));
    return;
  }
  if (const auto datagram = log_->Datagrams().Find(row.datagram)) {
    decoded_->ShowDatagram(datagram);
    return;
  }
  decoded_number_ = 0;
  decoded_->ShowNote(QString::fromStdWString(tvkutil::FormatN(
      tvkutil::LoadString(tvkutil::ids::kDecodedNotKept), SIZE_MAX,
      static_cast<int>(kMaxKeptDatagrams), static_cast<int>(kMaxKeptBytes / (1024 * 1024)))));
}

void CTransactionLogView::MakeRoomForDecodedPane() {
  // A few rows of the log and the decoded message need more height than the log alone had:
  // the tallest other pane of the window gives what is missing.
  const int rows = Table()->verticalHeader()->defaultSectionSize() * 5 +
                   Table()->horizontalHeader()->sizeHint().height();
  const int wanted = rows + split_->handleWidth() + decoded_->minimumHeight() * 3 / 2;
  if (auto* outer = qobject_cast<QSplitter*>(parentWidget());
      outer != nullptr && height() < wanted) {
    QList<int> sizes = outer->sizes();
    const int me = outer->indexOf(this);
    int donor = -1;
    for (int i = 0; i < sizes.size(); ++i) {
      if (i != me && (donor < 0 || sizes[i] > sizes[donor]))
        donor = i;
    }
    if (me >= 0 && donor >= 0) {
      const int give = std::max(0, std::min(wanted - sizes[me], sizes[donor] / 2));
      sizes[me] += give;
      sizes[donor] -= give;
      outer->setSizes(sizes);
    }
  }
  const int height = std::max(split_->height(), this->height());
  split_->setSizes({std::max(rows, height - decoded_->minimumHeight() * 3 / 2),
                    decoded_->minimumHeight() * 3 / 2});
}

void CTransactionLogView::AddMenuCommands(QMenu& menu) {
  const bool kept = log_->Datagrams().Count() != 0;
  if (menu.isEmpty() && !kept)
    return;
  if (!menu.isEmpty())
    menu.addSeparator();
  QAction* exported = menu.addAction(tvkutil::UiText(tvkutil::ids::kTransactionLogExport));
  exported->setObjectName(QStringLiteral("exportPcapng"));
  exported->setEnabled(kept);
  connect(exported, &QAction::triggered, this, &CTransactionLogView::ExportWithDialog);
}

void CTransactionLogView::ExportWithDialog() {
  const QString path =
      app::AskSavePath(this, Profile(), kSection, tvkutil::Folders().*Layout().log_folder,
                       tvkutil::ids::kPcapngFilter, tvkutil::ids::kPcapngExtension);
  if (!path.isEmpty())
    ExportTo(path);
}

bool CTransactionLogView::ExportTo(const QString& path) {
  std::error_code failed;
  {
    app::CWaitCursor wait;
    failed =
        WritePcapngFile(std::filesystem::path(path.toStdString()), log_->Datagrams().Snapshot());
  }
  if (failed)
    TellSaveFailed(path, failed);
  else
    LogEvent(tvkutil::ids::kFileSaved, path.toStdWString());
  return !failed;
}

}  // namespace logs
