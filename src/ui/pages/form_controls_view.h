// The controls the operation pages build their forms from, made the same way on every page:
// history drop-downs, fixed lists, captions whose Alt+letter reaches their control, and the
// moves between a history in the core and its drop-down.
#pragma once

#include <QComboBox>
#include <QGridLayout>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <string>

#include "settings/settings.h"

class QPushButton;

namespace pages {

inline QString Q(const std::wstring& text) {
  return QString::fromStdWString(text);
}

// The version lists of the pages: "1", "2c", "3".
QStringList VersionNames();
// Shows or hides `control` and the captions whose Alt+letter reaches it.
void ShowWithCaption(QWidget* control, bool show);

// The type lists of the pages, in the order they have always had: every type a Get can read;
// the types a varbind can hold (no exception values); the types a Set can write (no Null
// either).
enum class DataTypeList { kReadable, kVarBind, kSettable };
QStringList DataTypeNames(DataTypeList which);

// An editable drop-down over a history: nothing typed is added by Enter, no inline completion
// (a shorter OID typed would silently become a longer one of the list), sized by a fixed
// number of characters rather than its longest entry.
QComboBox* HistoryCombo(const char* object_name, QWidget* parent);
// A drop-down list of fixed items.
QComboBox* ListCombo(const char* object_name, const QStringList& items, QWidget* parent);

// A caption in column 0 of `row` whose Alt+letter focuses `control` in column 1, which it also
// names for assistive technology.
void AddRow(QGridLayout* grid, int row, const QString& caption, QWidget* control);

// Enter (or the keypad's Enter) in one of `inputs` clicks `button` when it is enabled and, when
// given, `allowed` says yes; the key goes no further. An editable drop-down is an input as a
// whole: Enter in its text does the same and adds nothing to its list.
void StartOnEnter(QPushButton* button, const QList<QWidget*>& inputs,
                  std::function<bool()> allowed = {});

// The drop-down shows the history (top first) and the current text.
void FillHistory(QComboBox* combo, const app::History& history, const std::wstring& current);
// Entries a request added on top of the history (only ever on top), also on top of the
// drop-down; the text being edited stays.
void SyncHistory(QComboBox* combo, const app::History& history);
// Selects the item equal to text without regard to case; no selection when there is none.
void SelectText(QComboBox* combo, const std::wstring& text);

// What runs, in the status bar of the window that holds `page` (none outside a main window);
// an empty text clears it.
void ShowRunningStatus(QWidget* page, const QString& text);

}  // namespace pages
