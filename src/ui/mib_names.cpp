#include "ui/mib_names.h"

#include <QComboBox>
#include <QCompleter>
#include <QCoreApplication>
#include <QLineEdit>
#include <QMetaObject>
#include <algorithm>
#include <string>
#include <vector>

#include "mib/mib_set.h"
#include "mib/mib_value.h"
#include "settings/profile_store.h"
#include "util/text.h"

namespace app {

namespace {

constexpr wchar_t kMibSection[] = L"MIB Folders";

}  // namespace

CMibNames& CMibNames::Instance() {
  static CMibNames names;
  return names;
}

CMibNames::~CMibNames() = default;

void CMibNames::SetShown(bool shown) {
  if (shown == shown_)
    return;
  shown_ = shown;
  emit ShownChanged(shown);
}

QStringList CMibNames::Folders(const tvkutil::IProfileStore& profile) {
  QStringList folders;
  const int count = profile.GetProfileInt(kMibSection, L"Count", 0);
  for (int i = 0; i < count; ++i) {
    const std::wstring folder =
        profile.GetProfileString(kMibSection, L"Folder" + std::to_wstring(i), L"");
    if (!folder.empty())
      folders << QString::fromStdWString(folder);
  }
  return folders;
}

void CMibNames::StoreFolders(tvkutil::IProfileStore& profile, const QStringList& folders) {
  const int old_count = profile.GetProfileInt(kMibSection, L"Count", 0);
  for (int i = 0; i < std::max(old_count, static_cast<int>(folders.size())); ++i) {
    profile.WriteProfileString(kMibSection, L"Folder" + std::to_wstring(i),
                               i < folders.size() ? folders[i].toStdWString() : std::wstring());
  }
  profile.WriteProfileInt(kMibSection, L"Count", static_cast<int>(folders.size()));
}

void CMibNames::StartLoading(const QStringList& folders) {
  if (loader_.joinable() || loaded_)
    return;
  std::vector<std::string> list;
  for (const QString& folder : folders)
    list.push_back(folder.toStdString());
  mib::CMibSet::AddFolders(std::move(list));
  // The set is a static made by the loader, so it would go before this one at exit: the loader
  // ends while the program still runs.
  if (QCoreApplication* app = QCoreApplication::instance()) {
    connect(app, &QCoreApplication::aboutToQuit, this, [this] {
      if (loader_.joinable())
        loader_.join();
    });
  }
  loader_ = std::jthread([this] {
    // The list to complete from is made here too, from the names alone: the rows stay unread.
    QStringList names;
    mib::CMibSet::Builtin().ForEachName([&names](std::string_view module, std::string_view name) {
      const QString short_name =
          QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
      names << short_name
            << QString::fromUtf8(module.data(), static_cast<qsizetype>(module.size())) +
                   QStringLiteral("::") + short_name;
    });
    names.sort(Qt::CaseInsensitive);
    names.removeDuplicates();
    names_ = std::move(names);
    loaded_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
          completion_.setStringList(names_);
          emit LoadFinished();
        },
        Qt::QueuedConnection);
  });
}

void CMibNames::CompleteNamesIn(QLineEdit* edit) {
  auto* completer = new QCompleter(&completion_, edit);
  completer->setCaseSensitivity(Qt::CaseInsensitive);
  completer->setModelSorting(QCompleter::CaseInsensitivelySortedModel);
  edit->setCompleter(completer);
}

void CMibNames::CompleteNamesIn(QComboBox* combo) {
  if (combo->lineEdit() != nullptr)
    CompleteNamesIn(combo->lineEdit());
}

std::optional<mib::OidMatch> CMibNames::MatchOf(const std::wstring& oid) const {
  if (!shown_ || !loaded_)
    return std::nullopt;
  mib::Arcs arcs;
  std::string error;
  if (!mib::CMibSet::Builtin().ToOid(tvkutil::ToUtf8(oid), arcs, error))
    return std::nullopt;
  return mib::CMibSet::Builtin().Match(arcs);
}

std::wstring CMibNames::NamedValue(const std::wstring& oid, const snmp::CASNDataType& value) const {
  const auto match = MatchOf(oid);
  const auto named = match ? mib::NamedValueText(value, match->node) : std::nullopt;
  return named ? tvkutil::FromUtf8Lenient(*named) : std::wstring();
}

std::wstring CMibNames::NameOf(const std::wstring& oid) const {
  const auto match = MatchOf(oid);
  return match ? tvkutil::FromUtf8Lenient(mib::CMibSet::NameOf(*match)) : std::wstring();
}

}  // namespace app
