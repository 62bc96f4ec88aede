#include "logs/event_log_view.h"

#include "logs/log_entry_points.h"
#include "util/string_table.h"

namespace logs {

namespace {

namespace ids = tvkutil::ids;

// The event log while its pane exists: registered with LogEvent for exactly that long.
class CEventRows : public ILogRows {
 public:
  CEventRows() { RegisterEventLog(&log_); }
  ~CEventRows() override { RegisterEventLog(nullptr); }
  CEventRows(const CEventRows&) = delete;
  CEventRows& operator=(const CEventRows&) = delete;

  CEventLog& Log() { return log_; }

  LogTickResult MovePending() override { return log_.MovePending(); }
  void Reset() override { log_.Reset(); }
  std::size_t ShownCount() const override { return log_.ShownCount(); }
  QString CellText(std::size_t row, int column) const override {
    const CEventEntry& entry = log_.Shown(row);
    switch (column) {
      case 0:
        return QString::fromStdWString(DateText(entry.stamp));
      case 1:
        return QString::fromStdWString(TimeText(entry.stamp));
      default:
        return QString::fromStdWString(entry.text);
    }
  }
  bool SaveToFile(const std::filesystem::path& path) const override {
    return log_.SaveToFile(path);
  }

 private:
  CEventLog log_;
};

LogPaneLayout EventLayout() {
  return LogPaneLayout{"eventLogTable",
                       L"Event View",
                       {ids::kColumnDate, ids::kColumnTime, ids::kColumnEvent},
                       3,
                       ids::kEventLogReset,
                       ids::kEventLogSave,
                       ids::kEventLogFilter,
                       ids::kEventLogExtension,
                       &app::AppFolders::event_log_folder,
                       false,
                       -1};
}

}  // namespace

CEventLogView::CEventLogView(app::CSondaraUtilityApp& app, QWidget* parent)
    : CLogTableView(app, EventLayout(), std::make_unique<CEventRows>(), parent),
      log_(&static_cast<CEventRows&>(Rows()).Log()) {}

CEventLogView::~CEventLogView() = default;

}  // namespace logs
