// COptionsDialog: network adapter, IP version, time-outs and retries.
#pragma once

#include <QDialog>

namespace app {

class CSondaraUtilityApp;

class COptionsDialog : public QDialog {
  Q_OBJECT

 public:
  explicit COptionsDialog(CSondaraUtilityApp& app, QWidget* parent = nullptr);

 private:
  CSondaraUtilityApp& app_;
};

}  // namespace app
