// CTransactionLogView: the transaction log pane of the main window.
#pragma once

#include <QWidget>

namespace app {
class CSondaraUtilityApp;
}

namespace logs {

class CTransactionLogView : public QWidget {
  Q_OBJECT

 public:
  explicit CTransactionLogView(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);

 private:
  app::CSondaraUtilityApp& app_;
};

}  // namespace logs
