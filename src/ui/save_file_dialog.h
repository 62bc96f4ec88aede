// The save dialog of the logs and of the results lists: it opens in the folder last used for
// that pane (kept as "SaveResultsPath" in the pane's profile section), else in the pane's own
// folder of the data folder, and remembers the folder chosen. Tests replace the dialog so
// nothing modal opens.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <string>
#include <string_view>

#include "settings/profile_store.h"

namespace app {

// Asks for the file to save to, starting in `folder`; empty when cancelled. `filter` is a Qt
// filter ("Text Files (*.csv)"), `suffix` the default extension.
using SaveDialogFn = std::function<QString(QWidget* parent, const QString& folder,
                                           const QString& filter, const QString& suffix)>;
// Replaces the dialog (tests); an empty function brings the real one back.
void SetSaveDialog(SaveDialogFn dialog);

// The whole command up to the chosen path: initial folder, dialog, folder written back to the
// profile. `filter_id` and `extension_id` are string table texts ("Text Files (*.csv)|*.csv|",
// "csv"). Empty when cancelled.
QString AskSavePath(QWidget* parent, tvkutil::IProfileStore& profile, std::wstring_view section,
                    const std::string& default_folder, int filter_id, int extension_id);

}  // namespace app
