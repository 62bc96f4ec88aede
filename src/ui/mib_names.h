// MIB names in the window: whether they are shown (View > Show Names), the user's MIB folders
// (Tools > Options), both kept in the profile, and the modules read on a worker once the window
// is up, so that the window's thread never waits for them to load.
#pragma once

#include <QObject>
#include <QStringList>
#include <QStringListModel>
#include <atomic>
#include <optional>
#include <string>
#include <thread>

#include "mib/mib_set.h"

namespace tvkutil {
class IProfileStore;
}

namespace snmp {
class CASNDataType;
}

class QComboBox;
class QLineEdit;

namespace app {

class CMibNames : public QObject {
  Q_OBJECT

 public:
  static CMibNames& Instance();
  ~CMibNames() override;

  // View > Show Names, on unless the profile says otherwise.
  bool Shown() const { return shown_; }
  void SetShown(bool shown);

  // The folders of Tools > Options, kept in the profile.
  static QStringList Folders(const tvkutil::IProfileStore& profile);
  static void StoreFolders(tvkutil::IProfileStore& profile, const QStringList& folders);

  // Hands `folders` to the MIB set and reads the modules on a worker; once per run.
  void StartLoading(const QStringList& folders);
  // True once the modules are read: until then a name costs a wait, never taken on this thread.
  bool Loaded() const { return loaded_; }
  // "IF-MIB::ifDescr.1" of a dotted OID; empty when names are off, not loaded yet or unknown.
  std::wstring NameOf(const std::wstring& oid) const;
  // "down(2)" for a value of the object at dotted `oid` that its MIB labels; empty when names
  // are off, not loaded yet, or the MIB has no word for it.
  std::wstring NamedValue(const std::wstring& oid, const snmp::CASNDataType& value) const;
  // Offers the known names, "ifOperStatus" and "IF-MIB::ifOperStatus", as an OID field is
  // typed in; from the moment the modules are read.
  void CompleteNamesIn(QLineEdit* edit);
  void CompleteNamesIn(QComboBox* combo);

 signals:
  void ShownChanged(bool shown);
  void LoadFinished();

 private:
  CMibNames() = default;
  // The node and instance of dotted `oid`; none while names are off or not read yet.
  std::optional<mib::OidMatch> MatchOf(const std::wstring& oid) const;

  bool shown_ = true;
  std::atomic<bool> loaded_{false};
  QStringList names_;  // made by the loader, handed to completion_ on this thread
  QStringListModel completion_;
  std::jthread loader_;
};

}  // namespace app
