#include "ui/logs/event_log_view.h"

#include "logs/log_entry_points.h"
#include "util/string_table.h"

namespace logs {

namespace {

namespace ids = tvkutil::ids;

// The event log while its pane exists.
class CEventRows : public CRegisteredRows<CEventLog, RegisterEventLog> {
 public:
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
                       &tvkutil::AppFolders::event_log_folder,
                       false,
                       -1};
}

}  // namespace

CEventLogView::CEventLogView(tvkutil::IProfileStore& app, QWidget* parent)
    : CLogTableView(app, EventLayout(), std::make_unique<CEventRows>(), parent),
      log_(&static_cast<CEventRows&>(Rows()).TheLog()) {}

CEventLogView::~CEventLogView() = default;

}  // namespace logs
