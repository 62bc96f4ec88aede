#include "logs/log_table_view.h"

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

#include "app/sondara_utility_app.h"
#include "logs/utf16_file.h"
#include "pages/message_box_dialog.h"
#include "util/string_table.h"
#include "util/text.h"

namespace logs {

namespace {

constexpr int kTickMs = 100;
constexpr int kDefaultColumnWidth = 120;
constexpr wchar_t kSaveFolderKey[] = L"SaveResultsPath";

QString Text(int id) {
  return QString::fromStdWString(tvkutil::LoadString(id));
}

// The table keeps filters as "Text Files (*.txt)|*.txt|": the descriptions already name their
// patterns, which is all a Qt filter needs.
QString QtFilter(const QString& pairs) {
  const QStringList parts = pairs.split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
    filters << parts[i];
  return filters.join(QStringLiteral(";;"));
}

QString RunSaveDialog(QWidget* parent, const QString& folder, const QString& filter,
                      const QString& suffix) {
  QFileDialog dialog(parent, QString(), folder, filter);
  dialog.setAcceptMode(QFileDialog::AcceptSave);  // asks before overwriting
  dialog.setFileMode(QFileDialog::AnyFile);
  dialog.setDefaultSuffix(suffix);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
    return {};
  return dialog.selectedFiles().constFirst();
}

CLogTableView::SaveDialog& SaveDialogFn() {
  static CLogTableView::SaveDialog fn = RunSaveDialog;
  return fn;
}

}  // namespace

// Rows are produced on demand from the core log. The model keeps its own row count so that
// the view sees removals and insertions one step at a time after the core has moved on.
class CLogTableModel : public QAbstractTableModel {
 public:
  CLogTableModel(ILogRows& rows, const LogPaneLayout& layout, QObject* parent)
      : QAbstractTableModel(parent), rows_(rows), layout_(layout) {
    for (int id : layout.column_ids)
      headers_ << Text(id);
    fixed_font_ = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  }

  int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : count_; }
  int columnCount(const QModelIndex& parent) const override {
    return parent.isValid() ? 0 : static_cast<int>(headers_.size());
  }

  QVariant data(const QModelIndex& index, int role) const override {
    if (!index.isValid() || index.row() < removing_ || index.row() >= count_)
      return {};
    const auto row = static_cast<std::size_t>(index.row() - removing_);
    switch (role) {
      case Qt::DisplayRole:
        return rows_.CellText(row, index.column());
      case Qt::ToolTipRole:
        // Long lines are cut at the pane's edge; the tip shows them whole.
        if (index.column() == columnCount({}) - 1)
          return rows_.CellText(row, index.column());
        return {};
      case Qt::ForegroundRole:
        return layout_.white_on_black ? QVariant(QColor(Qt::white)) : QVariant();
      case Qt::BackgroundRole:
        return layout_.white_on_black ? QVariant(QColor(Qt::black)) : QVariant();
      case Qt::FontRole:
        return index.column() == layout_.fixed_font_column ? QVariant(fixed_font_) : QVariant();
      default:
        return {};
    }
  }

  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal || section < 0 || section >= headers_.size())
      return {};
    if (role == Qt::DisplayRole)
      return headers_[section];
    if (role == Qt::TextAlignmentRole)
      return QVariant::fromValue(Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter));
    return {};
  }

  // After the core moved pending rows in: the oldest went from the front, the new ones came at
  // the end. Telling the view exactly that keeps a full log cheap to update.
  void Apply(const LogTickResult& change) {
    const int removed = static_cast<int>(change.removed_front);
    const int appended = static_cast<int>(change.appended);
    if (removed > 0) {
      // Until the view has dropped them, the gone rows still occupy the front.
      removing_ = removed;
      beginRemoveRows({}, 0, removed - 1);
      count_ -= removed;
      removing_ = 0;
      endRemoveRows();
    }
    if (appended > 0) {
      beginInsertRows({}, count_, count_ + appended - 1);
      count_ += appended;
      endInsertRows();
    }
  }

  void Reset() {
    beginResetModel();
    rows_.Reset();
    count_ = 0;
    endResetModel();
  }

 private:
  ILogRows& rows_;
  const LogPaneLayout& layout_;
  QStringList headers_;
  QFont fixed_font_;
  int count_ = 0;     // rows the view knows of
  int removing_ = 0;  // rows at the front the core has dropped and the view not yet
};

void CLogTableView::SetSaveDialog(SaveDialog dialog) {
  SaveDialogFn() = dialog ? std::move(dialog) : SaveDialog(RunSaveDialog);
}

CLogTableView::CLogTableView(app::CSondaraUtilityApp& app, LogPaneLayout layout,
                             std::unique_ptr<ILogRows> rows, QWidget* parent)
    : QWidget(parent), app_(app), layout_(std::move(layout)), rows_(std::move(rows)) {
  model_ = new CLogTableModel(*rows_, layout_, this);
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
  for (int i = 0; i < layout_.stored_widths; ++i) {
    int width =
        app_.GetProfileInt(layout_.profile_section, std::to_wstring(i), kDefaultColumnWidth);
    if (width < 0)
      width = kDefaultColumnWidth;
    columns->resizeSection(i, width);
  }

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
  QHeaderView* columns = table_->horizontalHeader();
  for (int i = 0; i < layout_.stored_widths; ++i)
    app_.WriteProfileInt(layout_.profile_section, std::to_wstring(i), columns->sectionSize(i));
  // The table goes before the log whose rows it shows.
  delete table_;
  table_ = nullptr;
}

void CLogTableView::Tick() {
  const LogTickResult change = rows_->MovePending();
  if (change.removed_front == 0 && change.appended == 0)
    return;
  model_->Apply(change);
  table_->scrollToBottom();
}

void CLogTableView::ResetLog() {
  model_->Reset();
}

void CLogTableView::SaveWithDialog() {
  const std::wstring stored = app_.GetProfileString(layout_.profile_section, kSaveFolderKey, L"");
  const std::filesystem::path folder =
      logs::InitialSaveFolder(std::filesystem::path(tvkutil::ToUtf8(stored)),
                              std::filesystem::path(app::Folders().*layout_.log_folder));

  // The timer waits while the dialog is open: lines logged meanwhile queue up and appear once
  // the file is written, so the file holds what was shown when the user chose Save.
  timer_->stop();
  const QString path =
      SaveDialogFn()(this, QString::fromStdString(folder.string()),
                     QtFilter(Text(layout_.filter_id)), Text(layout_.extension_id));
  if (!path.isEmpty()) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QString chosen_folder = slash < 0 ? QString() : path.left(slash);
    app_.WriteProfileString(layout_.profile_section, kSaveFolderKey, chosen_folder.toStdWString());
    SaveTo(path);
  }
  timer_->start();
}

bool CLogTableView::SaveTo(const QString& path) {
  if (rows_->SaveToFile(std::filesystem::path(path.toStdString())))
    return true;
  pages::ShowMessageBox(
      this,
      QString::fromStdWString(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kUnableToSave),
                                               SIZE_MAX, path.toStdWString())),
      pages::MessageIcon::kWarning);
  return false;
}

std::unique_ptr<QMenu> CLogTableView::BuildContextMenu() {
  auto menu = std::make_unique<QMenu>(this);
  if (rows_->ShownCount() == 0)
    return menu;
  QAction* reset = menu->addAction(Text(layout_.reset_id));
  reset->setObjectName(QStringLiteral("reset"));
  connect(reset, &QAction::triggered, this, &CLogTableView::ResetLog);
  QAction* save = menu->addAction(Text(layout_.save_id));
  save->setObjectName(QStringLiteral("save"));
  connect(save, &QAction::triggered, this, &CLogTableView::SaveWithDialog);
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
