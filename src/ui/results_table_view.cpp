#include "ui/results_table_view.h"

#include <QColor>
#include <QFontDatabase>
#include <QHeaderView>
#include <algorithm>
#include <string>

namespace app {

namespace {
constexpr int kDefaultColumnWidth = 120;
}  // namespace

CPolledTableModel::CPolledTableModel(const ITableRows& rows, QStringList headers, TableLook look,
                                     QObject* parent)
    : QAbstractTableModel(parent), rows_(rows), headers_(std::move(headers)), look_(look) {
  fixed_font_ = QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

int CPolledTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count_;
}

int CPolledTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(headers_.size());
}

QVariant CPolledTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() < removing_ || index.row() >= count_)
    return {};
  const auto row = static_cast<std::size_t>(index.row() - removing_);
  switch (role) {
    case Qt::DisplayRole:
      return rows_.CellText(row, index.column());
    case Qt::ToolTipRole:
      if (look_.last_column_tip && index.column() == columnCount({}) - 1)
        return rows_.CellText(row, index.column());
      return {};
    case Qt::ForegroundRole:
      return look_.white_on_black ? QVariant(QColor(Qt::white)) : QVariant();
    case Qt::BackgroundRole:
      return look_.white_on_black ? QVariant(QColor(Qt::black)) : QVariant();
    case Qt::FontRole:
      return index.column() == look_.fixed_font_column ? QVariant(fixed_font_) : QVariant();
    default:
      return {};
  }
}

QVariant CPolledTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= headers_.size())
    return {};
  if (role == Qt::DisplayRole)
    return headers_[section];
  if (role == Qt::TextAlignmentRole)
    return QVariant::fromValue(Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter));
  return {};
}

void CPolledTableModel::Apply(std::size_t removed_front, std::size_t appended) {
  const int removed = static_cast<int>(removed_front);
  const int added = static_cast<int>(appended);
  if (removed > 0) {
    // Until the view has dropped them, the gone rows still occupy the front.
    removing_ = removed;
    beginRemoveRows({}, 0, removed - 1);
    count_ -= removed;
    removing_ = 0;
    endRemoveRows();
  }
  if (added > 0) {
    beginInsertRows({}, count_, count_ + added - 1);
    count_ += added;
    endInsertRows();
  }
}

void CPolledTableModel::Sync(std::size_t count, bool reordered) {
  const int now = static_cast<int>(count);
  if (now < count_) {
    beginResetModel();
    count_ = now;
    endResetModel();
    return;
  }
  const int shown = count_;
  if (now > count_) {
    beginInsertRows({}, count_, now - 1);
    count_ = now;
    endInsertRows();
  }
  if (reordered && shown > 0)
    emit dataChanged(index(0, 0), index(shown - 1, columnCount({}) - 1));
}

void CPolledTableModel::Reset(const std::function<void()>& clear) {
  beginResetModel();
  if (clear)
    clear();
  count_ = 0;
  endResetModel();
}

void RestoreColumnWidths(QTableView* table, const tvkutil::IProfileStore& profile,
                         std::wstring_view section, int columns) {
  for (int i = 0; i < columns; ++i) {
    const int width = profile.GetProfileInt(section, std::to_wstring(i), kDefaultColumnWidth);
    table->horizontalHeader()->resizeSection(i, width < 0 ? kDefaultColumnWidth : width);
  }
}

void StoreColumnWidths(const QTableView* table, tvkutil::IProfileStore& profile,
                       std::wstring_view section, int columns) {
  for (int i = 0; i < columns; ++i)
    profile.WriteProfileInt(section, std::to_wstring(i), table->horizontalHeader()->sectionSize(i));
}

class CResultsTableView::CRows : public ITableRows {
 public:
  explicit CRows(CellFn cell) : cell_(std::move(cell)) {}
  QString CellText(std::size_t row, int column) const override { return cell_(row, column); }

 private:
  CellFn cell_;
};

CResultsTableView::CResultsTableView(CountFn count, ReordersFn reorders, CellFn cell,
                                     QStringList headers, QWidget* parent)
    : QTableView(parent),
      rows_(new CRows(std::move(cell))),
      model_(new CPolledTableModel(*rows_, std::move(headers), TableLook{}, this)),
      reorders_fn_(std::move(reorders)),
      count_fn_(std::move(count)) {
  setModel(model_);
  setShowGrid(false);
  setWordWrap(false);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  setTabKeyNavigation(false);
  setCornerButtonEnabled(false);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setMinimumSectionSize(1);
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
  horizontalHeader()->setSectionsClickable(false);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setStretchLastSection(true);
  reorders_seen_ = reorders_fn_();
  // A column the user drags keeps the width given; the stretched last one is never fitted.
  connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column, int, int) {
    if (!sizing_ && column >= 0 && static_cast<std::size_t>(column) < fitted_.size())
      fitted_[static_cast<std::size_t>(column)] = false;
  });
}

void CResultsTableView::RestoreWidths(const tvkutil::IProfileStore& profile,
                                      std::wstring_view section, int columns) {
  sizing_ = true;
  RestoreColumnWidths(this, profile, section, columns);
  sizing_ = false;
  fitted_.assign(static_cast<std::size_t>(columns), false);
  // The last column stretches and is kept as it was; the others start as wide as their caption.
  for (int i = 0; i + 1 < columns && i + 1 < model_->columnCount({}); ++i) {
    // Earlier versions wrote the 120-pixel default back for every column nobody touched, so
    // 120 counts as unset: those columns fit too.
    const int stored = profile.GetProfileInt(section, std::to_wstring(i), -1);
    if (stored >= 0 && stored != kDefaultColumnWidth)
      continue;
    fitted_[static_cast<std::size_t>(i)] = true;
    sizing_ = true;
    horizontalHeader()->resizeSection(i, horizontalHeader()->sectionSizeHint(i));
    sizing_ = false;
  }
  FitColumns();
}

void CResultsTableView::StoreWidths(tvkutil::IProfileStore& profile, std::wstring_view section,
                                    int columns) const {
  StoreColumnWidths(this, profile, section, columns);
  for (int i = 0; i < columns && static_cast<std::size_t>(i) < fitted_.size(); ++i) {
    if (fitted_[static_cast<std::size_t>(i)])
      profile.WriteProfileInt(section, std::to_wstring(i), -1);
  }
}

void CResultsTableView::FitToContent(int column) {
  if (column < 0)
    return;
  if (static_cast<std::size_t>(column) >= fitted_.size())
    fitted_.resize(static_cast<std::size_t>(column) + 1, false);
  fitted_[static_cast<std::size_t>(column)] = true;
  FitColumns();
}

void CResultsTableView::LimitFit(int column, int percent) {
  limits_[column] = percent;
  if (column >= 0 && static_cast<std::size_t>(column) < fitted_.size() &&
      fitted_[static_cast<std::size_t>(column)]) {
    sizing_ = true;  // narrowed to its caption, then fitted under the new limit
    horizontalHeader()->resizeSection(column, horizontalHeader()->sectionSizeHint(column));
    sizing_ = false;
  }
  FitColumns();
}

void CResultsTableView::FitColumns() {
  const int columns = model_->columnCount({});
  sizing_ = true;
  for (int i = 0; i < columns && static_cast<std::size_t>(i) < fitted_.size(); ++i) {
    if (!fitted_[static_cast<std::size_t>(i)])
      continue;
    // The rows in view and the caption; a column only widens, so it does not jump as rows
    // scroll by.
    const int caption = horizontalHeader()->sectionSizeHint(i);
    int wanted = std::max(sizeHintForColumn(i), caption);
    if (const auto limit = limits_.find(i); limit != limits_.end() && limit->second > 0)
      wanted = std::min(wanted, std::max(caption, width() * limit->second / 100));
    if (wanted > horizontalHeader()->sectionSize(i))
      horizontalHeader()->resizeSection(i, wanted);
  }
  sizing_ = false;
}

CResultsTableView::~CResultsTableView() {
  // The model asks the rows for text until it goes.
  setModel(nullptr);
  delete model_;
  delete rows_;
}

void CResultsTableView::Poll() {
  const std::uint64_t reorders = reorders_fn_();
  const bool reordered = reorders != reorders_seen_;
  reorders_seen_ = reorders;
  const int before = model_->rowCount({});
  model_->Sync(count_fn_(), reordered);
  if (model_->rowCount({}) != before || reordered)
    FitColumns();
}

}  // namespace app
