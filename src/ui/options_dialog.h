// COptionsDialog: the network interface requests are sent from, the IP version, the
// time-outs and retries of every SNMP exchange, and the folders MIB files are read from with
// what could not be read of them. OK stores into the application object (the
// profile is written at shut-down); Cancel stores nothing.
#pragma once

#include <QDialog>
#include <QString>
#include <functional>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QListWidget;

namespace tvkutil {
class CNumericEdit;
class SpinButtons;
}  // namespace tvkutil
namespace net {
class CAdapterTable;
}

namespace app {

class CSondaraUtilityApp;

class COptionsDialog : public QDialog {
  Q_OBJECT

 public:
  // Offers the adapters of this run.
  explicit COptionsDialog(CSondaraUtilityApp& app, QWidget* parent = nullptr);
  // Offers the adapters of the given table (tests, or a caller that enumerated itself).
  COptionsDialog(CSondaraUtilityApp& app, net::CAdapterTable& adapters, QWidget* parent = nullptr);

  // Checks the numbers in the order they stand; the first one out of range is reported
  // and focused, and the dialog stays open with nothing stored.
  void accept() override;

  // Replaces the folder chooser of "A&dd..." (tests); empty brings the real one back. It
  // returns the folder chosen, empty when cancelled.
  using FolderChooserFn = std::function<QString(QWidget* parent)>;
  static void SetFolderChooser(FolderChooserFn chooser);

 private:
  struct NumberField {
    tvkutil::CNumericEdit* edit = nullptr;
    tvkutil::SpinButtons* spin = nullptr;
    int minimum = 0;
    int maximum = 0;
  };

  NumberField AddNumberField(QGridLayout* grid, int row, const QString& caption, int text_limit,
                             int minimum, int maximum, int step, int value);
  // Empties the list and fills it with the adapters of the family, "Default" on top.
  void FillAdapterList(bool use_ipv6);
  // Reads a field; false (after the warning) when its value is out of range.
  bool TakeNumber(const NumberField& field, int& out_value);
  // The MIB folders' group: the list with its buttons and the problems below.
  QWidget* BuildMibGroup();
  // What the MIB set could not read, once it has been read.
  void FillMibProblems();

  CSondaraUtilityApp& app_;
  net::CAdapterTable& adapters_;
  QCheckBox* use_ipv6_ = nullptr;
  QComboBox* adapter_list_ = nullptr;
  NumberField request_timeout_;
  NumberField retries_;
  NumberField walk_bulk_repetitions_;
  QCheckBox* walk_bulk_auto_ = nullptr;
  NumberField walk_in_flight_;
  QListWidget* mib_folders_ = nullptr;
  QListWidget* mib_problems_ = nullptr;
};

}  // namespace app
