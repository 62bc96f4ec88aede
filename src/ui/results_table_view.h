// The tables every pane and page shares: a model that produces its cells on demand from
// records someone else owns (a log, a walk's objects, a sweep's devices), told by a timer what
// changed; and a ready-made results table for the pages, with its column widths kept in the
// profile.
#pragma once

#include <QAbstractTableModel>
#include <QFont>
#include <QStringList>
#include <QTableView>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "settings/profile_store.h"
#include "util/polled_list.h"

namespace app {

// What a table shows: the text of one cell of the rows the model has been told about.
class ITableRows {
 public:
  virtual ~ITableRows() = default;
  virtual QString CellText(std::size_t row, int column) const = 0;
};

// How the rows look.
struct TableLook {
  bool white_on_black = false;   // every row white text on black (the transaction log)
  int fixed_font_column = -1;    // a column in the fixed-pitch font, -1 for none
  bool last_column_tip = false;  // the last column's text also as a tool tip (cut long lines)
};

// Rows are produced on demand; the model keeps its own row count, so the view sees every
// change as a step it was told of, never rows that came or went behind its back.
class CPolledTableModel : public QAbstractTableModel {
 public:
  CPolledTableModel(const ITableRows& rows, QStringList headers, TableLook look, QObject* parent);

  int rowCount(const QModelIndex& parent) const override;
  int columnCount(const QModelIndex& parent) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // A log's tick: `removed_front` rows went from the front, `appended` came at the end.
  void Apply(std::size_t removed_front, std::size_t appended);
  // A results list's tick: it now holds `count` records; `reordered` when rows already shown
  // may hold other records (a clear, or an insertion before the end).
  void Sync(std::size_t count, bool reordered);
  // Empties the table; `clear` runs while the view holds no rows (it empties the records).
  void Reset(const std::function<void()>& clear = {});

 private:
  const ITableRows& rows_;
  QStringList headers_;
  TableLook look_;
  QFont fixed_font_;
  int count_ = 0;     // rows the view knows of
  int removing_ = 0;  // rows at the front the records have dropped and the view not yet
};

// Column widths in the profile, keys "0", "1", ... of `section`; a missing or negative width
// reads as 120.
void RestoreColumnWidths(QTableView* table, const tvkutil::IProfileStore& profile,
                         std::wstring_view section, int columns);
void StoreColumnWidths(const QTableView* table, tvkutil::IProfileStore& profile,
                       std::wstring_view section, int columns);

// A page's results: a read-only table with full-row selection over a CPolledList, the cells
// made by `cell`. The page's timer calls Poll() to bring the rows up to date; the table never
// scrolls by itself.
class CResultsTableView : public QTableView {
 public:
  using CountFn = std::function<std::size_t()>;
  using ReordersFn = std::function<std::uint64_t()>;
  using CellFn = std::function<QString(std::size_t row, int column)>;

  CResultsTableView(CountFn count, ReordersFn reorders, CellFn cell, QStringList headers,
                    QWidget* parent = nullptr);
  ~CResultsTableView() override;

  // Over a result list: cell(record, row, column) gives each cell's text.
  template <typename T, typename Cell>
  static CResultsTableView* Over(const tvkutil::CPolledList<T>& list, Cell cell,
                                 QStringList headers, QWidget* parent) {
    return new CResultsTableView(
        [&list] { return list.Count(); }, [&list] { return list.Reorders(); },
        [&list, cell](std::size_t row, int column) {
          QString text;
          list.With(row, [&](const T& record) { text = cell(record, row, column); });
          return text;
        },
        std::move(headers), parent);
  }

  // Column widths from the profile. A column without one (missing or negative) is fitted to
  // its content as rows come, widening only, until the user sizes it; the last column takes
  // the rest of the width.
  void RestoreWidths(const tvkutil::IProfileStore& profile, std::wstring_view section, int columns);
  // Keeps the widths the user set; a fitted column is kept as -1, to be fitted again.
  void StoreWidths(tvkutil::IProfileStore& profile, std::wstring_view section, int columns) const;

  // Fits `column` to its content as well (one kept nowhere), and limits the fitting of
  // `column` to `percent` of the table's width, 0 for none; a column wider than a new limit
  // is fitted again. A width the user drags wins over both.
  void FitToContent(int column);
  void LimitFit(int column, int percent);

  void Poll();
  CPolledTableModel* Model() const { return model_; }

 private:
  void FitColumns();

  class CRows;
  CRows* rows_;
  CPolledTableModel* model_;
  ReordersFn reorders_fn_;
  CountFn count_fn_;
  std::uint64_t reorders_seen_ = 0;
  std::vector<bool> fitted_;   // columns sized to their content, not (yet) by the user
  std::map<int, int> limits_;  // percent of the width a fitted column may take, 0 for no limit
  bool sizing_ = false;        // the view itself is resizing a column
};

}  // namespace app
