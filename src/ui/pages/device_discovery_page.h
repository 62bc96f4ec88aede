// CDeviceDiscoveryPropertyPage: the "&Device Discovery" tab. A thin layer over
// CDeviceDiscoveryOperation: it copies the two addresses into the operation, starts and stops
// the sweep, and a 50 ms timer brings the list of devices and the buttons up to date while the
// sweep runs on its own thread.
#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "ops/device_discovery_operation.h"
#include "ui/property_page.h"
#include "ui/results_table_view.h"

namespace app {
class CSondaraUtilityApp;
}  // namespace app

namespace pages {

class CDeviceDiscoveryPropertyPage : public app::CPropertyPage {
 public:
  // `probes` makes the network side of each sweep (tests stand in for ICMP).
  CDeviceDiscoveryPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent = nullptr,
                               ProbeFactory probes = MakeIcmpProbe);
  // Stops the timer and the sweep; keeps the column widths and, when both are valid, the
  // addresses.
  ~CDeviceDiscoveryPropertyPage() override;

  void StoreToApp() override;
  void StopOperations() override;

  // "Begin &Discovery" / "St&op" and "S&ave Results" (also what a click runs).
  void OnBeginStop();
  void OnSaveResults();

  const CDeviceDiscoveryOperation& Operation() const { return operation_; }

 private:
  void BuildControls();
  void ReadControls();
  // Every 50 ms while a sweep runs: the list, and once the sweep has ended the idle state.
  void OnTimer();
  void ShowRunning(bool running);
  // The bar and the line under the list: addresses swept, devices found, rate, time.
  void ShowProgress();

  app::CSondaraUtilityApp& app_;
  CDeviceDiscoveryOperation operation_;
  bool idle_ = true;

  QLineEdit* start_ = nullptr;
  QLineEdit* end_ = nullptr;
  QPushButton* begin_ = nullptr;
  QCheckBox* fast_ = nullptr;
  app::CResultsTableView* list_ = nullptr;
  QPushButton* save_ = nullptr;
  QProgressBar* progress_bar_ = nullptr;
  QLabel* progress_line_ = nullptr;
  QTimer timer_;
};

}  // namespace pages
