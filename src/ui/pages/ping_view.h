// CPingView: the one-line ping toolbar in the top pane of the main window.
#pragma once

#include <QWidget>

class QLineEdit;
class QPushButton;

namespace app {
class CRequestRunner;
class CSondaraUtilityApp;
}  // namespace app

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
  // Closing the window: stops a running ping at once and shows its end.
  void StopPing();

 private:
  // "&Ping" and Enter in the host: checked here, resolved and pinged off the window's thread.
  void OnPing();

  app::CSondaraUtilityApp& app_;
  QLineEdit* host_;
  QPushButton* ping_;
  app::CRequestRunner* request_;
};

}  // namespace pages
