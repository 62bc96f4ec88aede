// CPingView: the one-line ping toolbar in the top pane of the main window.
#pragma once

#include <QWidget>

class QLineEdit;
class QPushButton;

namespace app {
class CSondaraUtilityApp;
}

namespace pages {

class CPingView : public QWidget {
  Q_OBJECT

 public:
  explicit CPingView(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);

  // The View menu's "&Ping Toolbar" shows and hides the whole pane.
  void ShowToolbar(bool show);
  // Copies the host field into the application object.
  void StoreToApp();

  QLineEdit* HostEdit() const { return host_; }
  QPushButton* PingButton() const { return ping_; }

 private:
  void OnPing();

  app::CSondaraUtilityApp& app_;
  QLineEdit* host_;
  QPushButton* ping_;
};

}  // namespace pages
