// CGetSetPropertyPage: the "&Get/Set" tab. A thin layer over CGetSetOperation: it copies its
// controls into the operation's form, checks them, runs the request off the window's thread
// (both buttons disabled and the wait cursor over the page meanwhile) and shows what comes back.
#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

#include "ops/get_set_operation.h"
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

class CGetSetPropertyPage : public app::CPropertyPage {
 public:
  CGetSetPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);
  ~CGetSetPropertyPage() override;

  void OnKillActive() override;
  void StoreToApp() override;
  void StopOperations() override;

  // The buttons' commands (also what a click and Enter in that half run). The request runs on;
  // its result shows when it is back.
  void OnGet();
  void OnSet();
  // A request is on its way.
  bool RequestRunning() const;

  const CGetSetOperation& Operation() const { return operation_; }

 private:
  void BuildControls();
  // The two directions of the page's data exchange.
  void ReadControls();
  void WriteControls();
  // Shows the Get result: the value text and the type selected in the type list.
  void ShowGetResult();
  net::UdpSettings ExchangeSettings() const;
  void MapFields(app::CMessageBoxUi& ui);
  void Start(GetSetMode mode);
  // Version "3": the v3 user's fields in place of the communities.
  void ShowVersionFields();

  app::CSondaraUtilityApp& app_;
  CGetSetOperation operation_;

  QLineEdit* host_ = nullptr;
  QComboBox* version_ = nullptr;
  tvkutil::CNumericEdit* port_ = nullptr;
  QComboBox* get_oid_ = nullptr;
  QComboBox* get_community_ = nullptr;
  QPushButton* get_ = nullptr;
  QComboBox* get_data_type_ = nullptr;
  QLineEdit* get_value_ = nullptr;
  QComboBox* set_oid_ = nullptr;
  QComboBox* set_community_ = nullptr;
  QComboBox* set_data_type_ = nullptr;
  QLineEdit* set_value_ = nullptr;
  QPushButton* set_ = nullptr;
  CUsmFieldsView* usm_ = nullptr;
  app::CRequestRunner* request_ = nullptr;  // one request at a time: both halves share the ids
};

}  // namespace pages
