// CLogTableView: what the event log and transaction log panes share. A table over the shown rows
// of a core log, drained by a 100 ms timer, with the "&Reset"/"&Save" context menu, the save
// dialog and column widths kept in the profile. The rows themselves come from the core log
// through ILogRows, so this class never knows what a row holds.
#pragma once

#include <QString>
#include <QWidget>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "ui/results_table_view.h"
#include "util/app_folders.h"
#include "util/polled_list.h"

class QMenu;
class QTableView;
class QTimer;

namespace tvkutil {
class IProfileStore;
}

namespace logs {

// A core log as the pane sees it. Implementations own their log and register it with the entry
// points for as long as they live.
class ILogRows : public app::ITableRows {
 public:
  virtual tvkutil::LogTickResult MovePending() = 0;
  virtual void Reset() = 0;
  virtual std::size_t ShownCount() const = 0;
  [[nodiscard]] virtual std::error_code SaveToFile(const std::filesystem::path& path) const = 0;
};

// A core log owned by its pane and made the one its entry point writes to for as long as the
// pane lives; `Register` is RegisterEventLog or RegisterTransactionLog.
template <typename Log, void (*Register)(Log*)>
class CRegisteredRows : public ILogRows {
 public:
  CRegisteredRows() { Register(&log_); }
  ~CRegisteredRows() override { Register(nullptr); }
  CRegisteredRows(const CRegisteredRows&) = delete;
  CRegisteredRows& operator=(const CRegisteredRows&) = delete;

  Log& TheLog() { return log_; }
  tvkutil::LogTickResult MovePending() override { return log_.MovePending(); }
  void Reset() override { log_.Reset(); }
  std::size_t ShownCount() const override { return log_.ShownCount(); }
  std::error_code SaveToFile(const std::filesystem::path& path) const override {
    return log_.SaveToFile(path);
  }

 protected:
  Log log_;
};

// The fixed facts of one pane.
struct LogPaneLayout {
  const char* object_name;         // of the table
  const wchar_t* profile_section;  // column widths and "SaveResultsPath"
  std::vector<int> column_ids;     // string table ids of the headers, in column order
  int stored_widths;               // columns 0 .. stored_widths - 1 keep their width
  int reset_id;                    // menu texts
  int save_id;
  int filter_id;  // "Text Files (*.txt)|*.txt|"
  int extension_id;
  std::string tvkutil::AppFolders::*log_folder;  // initial folder when none was used yet
  bool white_on_black;                           // every row drawn white text on black
  int fixed_font_column;  // column shown in the fixed-pitch font, -1 for none
};

class CLogTableView : public QWidget {
  Q_OBJECT

 public:
  ~CLogTableView() override;

  QTableView* Table() const { return table_; }

  // One timer tick: moves the pending rows in and scrolls the newest into view.
  void Tick();
  // The "&Reset" command: the shown rows go; pending ones appear at the next tick.
  void ResetLog();
  // The "&Save" command: dialog, folder write-back, file.
  void SaveWithDialog();
  // Writes the shown rows to `path`; on failure tells the user and answers false.
  bool SaveTo(const QString& path);
  // The context menu: "&Reset" and "&Save" while at least one row is shown, then what the pane
  // adds; empty menus are not shown.
  std::unique_ptr<QMenu> BuildContextMenu();

 protected:
  CLogTableView(tvkutil::IProfileStore& profile, LogPaneLayout layout,
                std::unique_ptr<ILogRows> rows, QWidget* parent);

  ILogRows& Rows() const { return *rows_; }
  tvkutil::IProfileStore& Profile() const { return profile_; }
  const LogPaneLayout& Layout() const { return layout_; }
  // "Unable to save results to file <path>." and the system's reason in a message box.
  void TellSaveFailed(const QString& path, const std::error_code& reason);
  // A pane's own commands after "&Reset" and "&Save".
  virtual void AddMenuCommands(QMenu& /*menu*/) {}

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void ShowContextMenu(const QPoint& global_pos);
  void OpenMenuFromKeyboard();

  tvkutil::IProfileStore& profile_;
  const LogPaneLayout layout_;
  std::unique_ptr<ILogRows> rows_;
  app::CPolledTableModel* model_ = nullptr;
  QTableView* table_ = nullptr;
  QTimer* timer_ = nullptr;
};

}  // namespace logs
