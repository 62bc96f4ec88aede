// CEventLogView: the event log pane of the main window. It owns the event log, makes it the one
// LogEvent writes to while the pane exists, and shows its lines as Date, Time and Event.
#pragma once

#include <string>

#include "logs/event_log.h"
#include "ui/logs/log_table_view.h"

namespace tvkutil {
class IProfileStore;
}

namespace logs {

class CEventLogView : public CLogTableView {
  Q_OBJECT

 public:
  explicit CEventLogView(tvkutil::IProfileStore& app, QWidget* parent = nullptr);
  ~CEventLogView() override;

  // Any thread.
  void AddEvent(const std::wstring& text) { log_->AddEvent(text); }

  CEventLog& Log() const { return *log_; }

 private:
  CEventLog* log_;  // owned through the rows of the base
};

}  // namespace logs
