// CMainWnd: the one top-level window. Four stacked panes (ping toolbar, operation pages,
// transaction log, event log) in a splitter, the menus and their enable/check rules, and the
// window placement kept in the profile.
#pragma once

#include <QMainWindow>
#include <QSplitter>

#include "settings/page_set.h"

class QAction;
class QDockWidget;
class QMenu;

namespace logs {
class CEventLogView;
class CTransactionLogView;
}  // namespace logs
namespace pages {
class CPingView;
}

namespace app {

class CSondaraUtilityApp;
class CPropertySheetView;
class CMibTreeView;

class CMainWnd : public QMainWindow {
  Q_OBJECT

 public:
  explicit CMainWnd(CSondaraUtilityApp& app, QWidget* parent = nullptr);
  ~CMainWnd() override;

  CPropertySheetView* PropertySheetView() const { return sheet_view_; }
  pages::CPingView* PingView() const { return ping_view_; }
  logs::CTransactionLogView* TransactionView() const { return transaction_view_; }
  logs::CEventLogView* EventView() const { return event_view_; }
  CMibTreeView* MibTree() const { return mib_tree_; }
  QSplitter* Splitter() const { return splitter_; }
  const PageFlags& Flags() const { return flags_; }

  // Menu commands, callable from tests as the menu calls them.
  void OnSaveSnapshot();
  void OnTogglePingToolbar();
  void OnTogglePage(PageId id);
  void OnOptions();
  void OnReadme();
  void OnAbout();
  // Refreshes every menu item's enabled and checked state.
  void UpdateCommandStates();

  QAction* Action(const char* name) const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void BuildMenus();
  // The MIB tree's OID into the OID field of the page in front.
  void UseOid(const QString& oid);
  // The walkMIB page in front (turned on if it was off), walking from `oid`.
  void WalkFrom(const QString& oid);
  void RestorePlacement();
  void SavePlacement();
  QString ReadmePath() const;

  CSondaraUtilityApp& app_;
  PageFlags flags_;
  QSplitter* splitter_ = nullptr;
  pages::CPingView* ping_view_ = nullptr;
  CPropertySheetView* sheet_view_ = nullptr;
  logs::CTransactionLogView* transaction_view_ = nullptr;
  logs::CEventLogView* event_view_ = nullptr;
  QDockWidget* mib_dock_ = nullptr;
  CMibTreeView* mib_tree_ = nullptr;
  // Pane heights from the profile, applied once the window has its real size.
  QList<int> pending_sizes_;
};

}  // namespace app
