#include "ui/logs/log_table_view.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QFileDialog>
#include <QFont>
#include <QFontDatabase>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <string>

#include "logs/log_entry_points.h"
#include "logs/utf16_file.h"
#include "settings/profile_store.h"
#include "ui/message_box_dialog.h"
#include "ui/save_file_dialog.h"
#include "ui/text_conversion.h"
#include "util/file_replace.h"
#include "util/string_table.h"
#include "util/text.h"

namespace logs {

namespace {

constexpr int kTickMs = 100;

}  // namespace

CLogTableView::CLogTableView(tvkutil::IProfileStore& profile, LogPaneLayout layout,
                             std::unique_ptr<ILogRows> rows, QWidget* parent)
    : QWidget(parent), profile_(profile), layout_(std::move(layout)), rows_(std::move(rows)) {
  QStringList headers;
  for (int id : layout_.column_ids)
    headers << tvkutil::UiText(id);
  model_ = new app::CPolledTableModel(
      *rows_, headers, app::TableLook{layout_.white_on_black, layout_.fixed_font_column, true},
      this);
  table_ = new QTableView(this);
  table_->setObjectName(QString::fromLatin1(layout_.object_name));
  table_->setModel(model_);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->setTabKeyNavigation(false);
  table_->setCornerButtonEnabled(false);
  table_->setContextMenuPolicy(Qt::CustomContextMenu);

  QHeaderView* rows_header = table_->verticalHeader();
  rows_header->hide();
  rows_header->setSectionResizeMode(QHeaderView::Fixed);
  int line_height = table_->fontMetrics().height();
  if (layout_.fixed_font_column >= 0)
    line_height = std::max(
        line_height, QFontMetrics(QFontDatabase::systemFont(QFontDatabase::FixedFont)).height());
  rows_header->setMinimumSectionSize(1);
  rows_header->setDefaultSectionSize(line_height + 4);

  QHeaderView* columns = table_->horizontalHeader();
  columns->setSectionsClickable(false);  // the logs are never sorted
  columns->setHighlightSections(false);
  columns->setStretchLastSection(true);
  app::RestoreColumnWidths(table_, profile_, layout_.profile_section, layout_.stored_widths);

  if (layout_.white_on_black) {
    // The area below the last row matches the rows.
    QPalette palette = table_->palette();
    palette.setColor(QPalette::Base, QColor(1, 1, 1));
    palette.setColor(QPalette::Text, Qt::white);
    table_->setPalette(palette);
  }

  auto* box = new QVBoxLayout(this);
  box->setContentsMargins(0, 0, 0, 0);
  box->addWidget(table_);

  connect(table_, &QWidget::customContextMenuRequested, this,
          [this](const QPoint& pos) { ShowContextMenu(table_->viewport()->mapToGlobal(pos)); });
  table_->installEventFilter(this);

  timer_ = new QTimer(this);
  timer_->setInterval(kTickMs);
  connect(timer_, &QTimer::timeout, this, &CLogTableView::Tick);
  timer_->start();
}

CLogTableView::~CLogTableView() {
  timer_->stop();
  app::StoreColumnWidths(table_, profile_, layout_.profile_section, layout_.stored_widths);
  // The table goes before the log whose rows it shows.
  delete table_;
  table_ = nullptr;
}

void CLogTableView::Tick() {
  const tvkutil::LogTickResult change = rows_->MovePending();
  if (change.removed_front == 0 && change.appended == 0)
    return;
  model_->Apply(change.removed_front, change.appended);
  table_->scrollToBottom();
}

void CLogTableView::ResetLog() {
  model_->Reset([this] { rows_->Reset(); });
}

void CLogTableView::SaveWithDialog() {
  // The timer waits while the dialog is open: lines logged meanwhile queue up and appear once
  // the file is written, so the file holds what was shown when the user chose Save.
  timer_->stop();
  const QString path = app::AskSavePath(this, profile_, layout_.profile_section,
                                        tvkutil::Folders().*layout_.log_folder, layout_.filter_id,
                                        layout_.extension_id);
  if (!path.isEmpty())
    SaveTo(path);
  timer_->start();
}

bool CLogTableView::SaveTo(const QString& path) {
  const std::error_code failed = rows_->SaveToFile(std::filesystem::path(path.toStdString()));
  if (!failed) {
    LogEvent(tvkutil::ids::kFileSaved, path.toStdWString());
    return true;
  }
  TellSaveFailed(path, failed);
  return false;
}

void CLogTableView::TellSaveFailed(const QString& path, const std::error_code& reason) {
  app::ShowMessageBox(this,
                      QString::fromStdWString(tvkutil::WithReason(
                          tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kUnableToSave),
                                           SIZE_MAX, path.toStdWString()),
                          reason)),
                      app::MessageIcon::kWarning);
}

std::unique_ptr<QMenu> CLogTableView::BuildContextMenu() {
  auto menu = std::make_unique<QMenu>(this);
  if (rows_->ShownCount() != 0) {
    QAction* reset = menu->addAction(tvkutil::UiText(layout_.reset_id));
    reset->setObjectName(QStringLiteral("reset"));
    connect(reset, &QAction::triggered, this, &CLogTableView::ResetLog);
    QAction* save = menu->addAction(tvkutil::UiText(layout_.save_id));
    save->setObjectName(QStringLiteral("save"));
    connect(save, &QAction::triggered, this, &CLogTableView::SaveWithDialog);
  }
  AddMenuCommands(*menu);
  return menu;
}

void CLogTableView::ShowContextMenu(const QPoint& global_pos) {
  std::unique_ptr<QMenu> menu = BuildContextMenu();
  if (!menu->isEmpty())
    menu->exec(global_pos);
}

// A typed space opens the menu at the first selected row, or in the middle of the pane.
void CLogTableView::OpenMenuFromKeyboard() {
  const QModelIndexList selected = table_->selectionModel()->selectedRows();
  if (selected.isEmpty()) {
    ShowContextMenu(table_->mapToGlobal(table_->rect().center()));
    return;
  }
  const QModelIndex first = *std::min_element(
      selected.begin(), selected.end(),
      [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
  table_->scrollTo(first);
  ShowContextMenu(table_->viewport()->mapToGlobal(table_->visualRect(first).center()));
}

bool CLogTableView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == table_ && event->type() == QEvent::KeyPress &&
      static_cast<QKeyEvent*>(event)->text() == QStringLiteral(" ")) {
    OpenMenuFromKeyboard();
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace logs
