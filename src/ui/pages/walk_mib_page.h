// CWalkMIBPropertyPage: the "&walkMIB" tab. A thin layer over CWalkMIBOperation: it copies its
// controls into the operation's form, starts and stops the walk, and shows the objects found in
// a table that a 250 ms timer brings up to date while the worker runs.
#pragma once

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include "ops/walk_mib_operation.h"
#include "ui/property_page.h"

namespace app {
class CMessageBoxUi;
class CRequestRunner;
class CResultsTableView;
class CSondaraUtilityApp;
}  // namespace app

namespace tvkutil {
class CNumericEdit;
}

namespace pages {

class CUsmFieldsView;

class CWalkMIBPropertyPage : public app::CPropertyPage {
 public:
  CWalkMIBPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent = nullptr);
  ~CWalkMIBPropertyPage() override;

  void OnKillActive() override;
  void StoreToApp() override;
  void StopOperations() override;

  // The commands (also what a click runs).
  void OnBeginWalk();
  void OnGetSysObjectId();
  void OnSaveResults();
  // Copies the OID of the list's current row to the clipboard.
  void OnCopyOid();
  // The Name column with View > Show Names.
  void ShowNames(bool shown);
  // The 250 ms tick while a walk is active.
  void OnTimer();

  const CWalkMIBOperation& Operation() const { return operation_; }
  app::CResultsTableView* ResultsTable() const { return results_; }

 private:
  void BuildControls();
  // The two directions of the page's data exchange.
  void ReadControls();
  void WriteControls();
  // The inputs a walk must not change while it runs (the start OID box stays usable).
  void EnableInputs(bool enabled);
  void MapFields(app::CMessageBoxUi& ui);

  app::CSondaraUtilityApp& app_;
  CWalkMIBOperation operation_;
  bool idle_ = true;

  QLineEdit* host_ = nullptr;
  QComboBox* version_ = nullptr;
  tvkutil::CNumericEdit* port_ = nullptr;
  QComboBox* community_ = nullptr;
  CUsmFieldsView* usm_ = nullptr;  // version "3": in place of the community
  QComboBox* start_oid_ = nullptr;
  QPushButton* get_sys_object_id_ = nullptr;
  QPushButton* walk_ = nullptr;
  app::CResultsTableView* results_ = nullptr;
  QPushButton* save_ = nullptr;
  QLabel* progress_line_ = nullptr;  // objects found, rate, time; no percentage: no known end
  QTimer* timer_ = nullptr;
  // "&Get SysObjectID" off the window's thread; it shares the request ids with the walk, so
  // "Begin &Walk" waits too.
  app::CRequestRunner* request_ = nullptr;
};

}  // namespace pages
