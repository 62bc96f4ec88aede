// CSendTrapPropertyPage: the "&sendTrap" tab. A thin layer over CSendTrapOperation: it copies
// its controls into the operation's form, checks them, sends the trap off the window's thread
// (the wait cursor over the page meanwhile), shows the time stamp while it is the active page,
// and opens "Edit Varbinds" on the trap's list.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include "ops/send_trap_operation.h"
#include "ui/property_page.h"

namespace app {
class CMessageBoxUi;
class CRequestRunner;
class CSondaraUtilityApp;
}  // namespace app

namespace tvkutil {
class CNumericEdit;
}

namespace pages {

class CUsmFieldsView;

class CSendTrapPropertyPage : public app::CPropertyPage {
 public:
  CSendTrapPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);
  ~CSendTrapPropertyPage() override;

  void OnSetActive() override;
  void OnKillActive() override;
  void StoreToApp() override;
  void StopOperations() override;

  // The commands of the check box and the buttons (also what a click runs).
  void OnUseDefault();
  void OnEditVarBinds();
  void OnSendTrap();

  const CSendTrapOperation& Operation() const { return operation_; }

 private:
  void BuildControls();
  // The two directions of the page's data exchange.
  void ReadControls();
  void WriteControls();
  // The fields a v1 trap alone uses are on only for a v1 trap without "Use &default".
  void UpdateEnabling();
  void ShowTimeStamp();
  void MapFields(app::CMessageBoxUi& ui);

  app::CSondaraUtilityApp& app_;
  CSendTrapOperation operation_;
  QTimer time_stamp_timer_;

  QLineEdit* host_ = nullptr;
  QComboBox* version_ = nullptr;
  tvkutil::CNumericEdit* port_ = nullptr;
  QCheckBox* use_default_ = nullptr;
  QComboBox* sender_ip_ = nullptr;
  QComboBox* sender_oid_ = nullptr;
  QComboBox* community_ = nullptr;
  CUsmFieldsView* usm_ = nullptr;  // version "3": in place of the community
  tvkutil::CNumericEdit* varbind_num_ = nullptr;
  QPushButton* edit_varbinds_ = nullptr;
  QLineEdit* time_stamp_ = nullptr;
  QComboBox* trap_type_ = nullptr;
  tvkutil::CNumericEdit* specific_type_ = nullptr;
  QPushButton* send_ = nullptr;
  app::CRequestRunner* request_ = nullptr;
};

}  // namespace pages
