// CNotificationsPropertyPage: the "&Notifications" tab. A thin layer over
// CNotificationListenOperation: "&Listen" opens the port and listens on the operation's worker
// until "St&op" or the page is switched off; a 250 ms timer brings the list up to date in one
// batch, however many notifications came, so a flood never floods the window's thread.
// Selecting a row shows its bindings and its message decoded.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

#include "ops/notification_listen_operation.h"
#include "ui/property_page.h"

namespace app {
class CResultsTableView;
class CSondaraUtilityApp;
}  // namespace app

namespace logs {
class CDecodedMessageView;
}

namespace tvkutil {
class CNumericEdit;
}

namespace pages {

class CNotificationFilter;

class CNotificationsPropertyPage : public app::CPropertyPage {
 public:
  CNotificationsPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);
  ~CNotificationsPropertyPage() override;

  void StoreToApp() override;
  void StopOperations() override;

  // The commands (also what a click runs).
  void OnListen();
  void OnSave();
  void OnClear();
  // The 250 ms tick while listening.
  void OnTimer();

  const CNotificationListenOperation& Operation() const { return operation_; }
  app::CResultsTableView* List() const { return list_; }
  // The rows the filters let through, in the list's order, as the file has them.
  std::vector<std::wstring> ShownCsvRows() const;

 private:
  void BuildControls();
  void ShowSelected();
  void ShowListening(bool listening);
  void ShowCounts();
  // The notification or binding OID by its MIB name when View > Show Names is on.
  static QString Named(const std::wstring& oid);

  app::CSondaraUtilityApp& app_;
  CNotificationListenOperation operation_;
  bool listening_ = false;

  tvkutil::CNumericEdit* port_ = nullptr;
  QPushButton* listen_ = nullptr;
  QLineEdit* source_filter_ = nullptr;
  QLineEdit* trap_filter_ = nullptr;
  app::CResultsTableView* list_ = nullptr;
  CNotificationFilter* filter_ = nullptr;
  QTableWidget* bindings_ = nullptr;
  logs::CDecodedMessageView* decoded_ = nullptr;
  QLabel* counts_ = nullptr;
  QPushButton* save_ = nullptr;
  QPushButton* clear_ = nullptr;
  QTimer* timer_ = nullptr;
};

}  // namespace pages
