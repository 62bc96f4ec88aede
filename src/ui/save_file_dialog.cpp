#include "ui/save_file_dialog.h"

#include <QFileDialog>
#include <QStringList>
#include <filesystem>

#include "logs/utf16_file.h"
#include "ui/text_conversion.h"
#include "util/string_table.h"
#include "util/text.h"

namespace app {

namespace {

constexpr wchar_t kSaveFolderKey[] = L"SaveResultsPath";

// The table keeps filters as "Text Files (*.txt)|*.txt|": the descriptions already name their
// patterns, which is all a Qt filter needs.
QString QtFilter(const QString& pairs) {
  const QStringList parts = pairs.split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
    filters << parts[i];
  return filters.join(QStringLiteral(";;"));
}

QString RunSaveDialog(QWidget* parent, const QString& folder, const QString& filter,
                      const QString& suffix) {
  QFileDialog dialog(parent, QString(), folder, filter);
  dialog.setAcceptMode(QFileDialog::AcceptSave);  // asks before overwriting
  dialog.setFileMode(QFileDialog::AnyFile);
  dialog.setDefaultSuffix(suffix);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
    return {};
  return dialog.selectedFiles().constFirst();
}

SaveDialogFn& DialogFn() {
  static SaveDialogFn fn = RunSaveDialog;
  return fn;
}

}  // namespace

void SetSaveDialog(SaveDialogFn dialog) {
  DialogFn() = dialog ? std::move(dialog) : SaveDialogFn(RunSaveDialog);
}

QString AskSavePath(QWidget* parent, tvkutil::IProfileStore& profile, std::wstring_view section,
                    const std::string& default_folder, int filter_id, int extension_id) {
  const std::wstring stored = profile.GetProfileString(section, kSaveFolderKey, L"");
  const std::filesystem::path folder = logs::InitialSaveFolder(
      std::filesystem::path(tvkutil::ToUtf8(stored)), std::filesystem::path(default_folder));
  const QString path =
      DialogFn()(parent, QString::fromStdString(folder.string()),
                 QtFilter(tvkutil::UiText(filter_id)), tvkutil::UiText(extension_id));
  if (path.isEmpty())
    return {};
  const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
  profile.WriteProfileString(section, kSaveFolderKey,
                             (slash < 0 ? QString() : path.left(slash)).toStdWString());
  return path;
}

}  // namespace app
