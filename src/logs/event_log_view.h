// CEventLogView: the event log pane of the main window.
#pragma once

#include <QWidget>

namespace app {
class CSondaraUtilityApp;
}

namespace logs {

class CEventLogView : public QWidget {
  Q_OBJECT

 public:
  explicit CEventLogView(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);

 private:
  app::CSondaraUtilityApp& app_;
};

}  // namespace logs
