// CPropertySheetView: the operation pages as tabs in row 1 of the main window.
#pragma once

#include <QScrollArea>
#include <QTabWidget>
#include <functional>
#include <map>

#include "settings/page_set.h"
#include "ui/property_page.h"

namespace app {

class CSondaraUtilityApp;

class CPropertySheetView : public QScrollArea {
  Q_OBJECT

 public:
  // Makes a page for an identifier; the view owns what it returns.
  using PageFactory = std::function<CPropertyPage*(int page_id, QWidget* parent)>;

  CPropertySheetView(const PageFlags& flags, PageFactory factory, QWidget* parent = nullptr);

  // Appends a page and activates it; the placeholder page goes.
  void AddPage(int page_id);
  // Removes a page; removing the last one shows the placeholder page. The page stops what it
  // runs, as when the window closes.
  void RemovePage(int page_id);
  // Save Snapshot: the active page stores its values (nothing while the placeholder shows).
  void CollectForSnapshot();
  // The window is closing: running operations stop, running requests end.
  void Close();

  QTabWidget* Sheet() const { return sheet_; }
  // The height that shows the tallest page without scrolling (its tables at their least).
  int FormHeight() const;
  const CPageSet& PageSet() const { return page_set_; }
  CPropertyPage* Page(int page_id);

 private:
  void OnCurrentChanged(int index);
  void SyncTabs();
  // A tab's Alt+letter gives way to a control of the shown page with the same letter.
  void UpdateTabMnemonics(const QWidget* shown);

  CPageSet page_set_;
  PageFactory factory_;
  QTabWidget* sheet_;
  std::map<int, CPropertyPage*> pages_;  // children of this view; kept while their tab is off
  CPropertyPage* active_ = nullptr;
};

// The page shown when every operation page is switched off.
class CZeroFunctionalityPropertyPage : public CPropertyPage {
 public:
  explicit CZeroFunctionalityPropertyPage(QWidget* parent = nullptr);
};

}  // namespace app
