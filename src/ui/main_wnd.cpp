#include "ui/main_wnd.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDockWidget>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QTableView>
#include <QVBoxLayout>

#include "logs/log_entry_points.h"
#include "mib/mib_set.h"
#include "settings/sondara_utility_app.h"
#include "ui/about_dialog.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/mib_names.h"
#include "ui/mib_tree_view.h"
#include "ui/options_dialog.h"
#include "ui/pages/device_discovery_page.h"
#include "ui/pages/get_set_page.h"
#include "ui/pages/notifications_page.h"
#include "ui/pages/ping_view.h"
#include "ui/pages/send_trap_page.h"
#include "ui/pages/walk_mib_page.h"
#include "ui/property_sheet_view.h"
#include "ui/readme_dialog.h"
#include "ui/screen_fit.h"
#include "ui/text_conversion.h"
#include "util/string_table.h"
#include "util/text.h"

namespace app {

namespace {

constexpr wchar_t kFlagsSection[] = L"FunctionalityEnable Settings";
constexpr wchar_t kWindowSection[] = L"Main Window";
constexpr int kMinPaneHeight = 10;
// However small the window: a log pane keeps this many rows in view, the page pane this many
// rows of controls (a page scrolls up and down for the rest).
constexpr int kMinLogRows = 3;
constexpr int kMinPageRows = 4;

QString Caption(int page_id) {
  switch (page_id) {
    case kPageDeviceDiscovery:
      return QStringLiteral("&Device Discovery");
    case kPageGetSet:
      return QStringLiteral("&Get/Set");
    case kPageSendTrap:
      return QStringLiteral("&sendTrap");
    case kPageNotifications:
      return QStringLiteral("&Notifications");
    default:
      return QStringLiteral("&walkMIB");
  }
}

// Pages whose operation is not built yet show as their captioned tab with an empty form.
CPropertyPage* CreatePage(int page_id, CSondaraUtilityApp& app, QWidget* parent) {
  if (!CPageSet::IsOperationPage(page_id))
    return nullptr;
  if (page_id == kPageGetSet)
    return new pages::CGetSetPropertyPage(app, parent);
  if (page_id == kPageSendTrap)
    return new pages::CSendTrapPropertyPage(app, parent);
  if (page_id == kPageDeviceDiscovery)
    return new pages::CDeviceDiscoveryPropertyPage(app, parent);
  if (page_id == kPageWalkMib)
    return new pages::CWalkMIBPropertyPage(app, parent);
  if (page_id == kPageNotifications)
    return new pages::CNotificationsPropertyPage(app, parent);
  return new CPropertyPage(page_id, Caption(page_id), parent);
}

// The focused text field, whether a plain edit or the edit of an editable combo box.
QLineEdit* FocusedEdit() {
  QWidget* w = QApplication::focusWidget();
  if (auto* edit = qobject_cast<QLineEdit*>(w))
    return edit;
  if (auto* combo = qobject_cast<QComboBox*>(w))
    return combo->lineEdit();
  return nullptr;
}

// Runs an edit slot ("copy", "cut", "paste") on the focused field by name, so the field's own
// slot runs: a numeric edit's paste filters what it inserts.
void EditCommand(const char* slot) {
  if (QLineEdit* e = FocusedEdit())
    QMetaObject::invokeMethod(e, slot);
}

// The least height that still shows what a pane is for: a few rows of a log or of the page
// form, the whole ping toolbar.
int MinimumPaneHeight(QWidget* pane, const CPropertySheetView* sheet_view) {
  if (pane == sheet_view) {
    return sheet_view->Sheet()->tabBar()->sizeHint().height() +
           kMinPageRows * 2 * sheet_view->fontMetrics().lineSpacing();
  }
  if (const auto* table = pane->findChild<QTableView*>()) {
    return table->horizontalHeader()->sizeHint().height() +
           kMinLogRows * table->verticalHeader()->defaultSectionSize() + 2 * table->frameWidth();
  }
  return std::max(kMinPaneHeight, pane->sizeHint().height());
}

}  // namespace

CMainWnd::CMainWnd(CSondaraUtilityApp& app, QWidget* parent) : QMainWindow(parent), app_(app) {
  setWindowTitle(QString::fromStdWString(CSondaraUtilityApp::ProductName()));
  flags_.ping_toolbar = app_.GetProfileInt(kFlagsSection, L"EnablePingToolBar", 1) != 0;
  flags_.device_discovery = app_.GetProfileInt(kFlagsSection, L"EnableDeviceDiscovery", 1) != 0;
  flags_.get_set = app_.GetProfileInt(kFlagsSection, L"EnableGetSet", 1) != 0;
  flags_.send_trap = app_.GetProfileInt(kFlagsSection, L"EnableSendTrap", 1) != 0;
  flags_.walk_mib = app_.GetProfileInt(kFlagsSection, L"EnableWalkMIB", 1) != 0;
  flags_.notifications = app_.GetProfileInt(kFlagsSection, L"EnableNotifications", 0) != 0;
  CMibNames::Instance().SetShown(app_.GetProfileInt(kFlagsSection, L"ShowNames", 1) != 0);

  splitter_ = new QSplitter(Qt::Vertical, this);
  splitter_->setChildrenCollapsible(false);
  ping_view_ = new pages::CPingView(app_, splitter_);
  sheet_view_ = new CPropertySheetView(
      flags_, [this](int id, QWidget* p) { return CreatePage(id, app_, p); }, splitter_);
  transaction_view_ = new logs::CTransactionLogView(app_, splitter_);
  event_view_ = new logs::CEventLogView(app_, splitter_);
  for (QWidget* pane :
       {static_cast<QWidget*>(ping_view_), static_cast<QWidget*>(sheet_view_),
        static_cast<QWidget*>(transaction_view_), static_cast<QWidget*>(event_view_)}) {
    splitter_->addWidget(pane);
    pane->setMinimumHeight(MinimumPaneHeight(pane, sheet_view_));
  }
  splitter_->setStretchFactor(3, 1);  // the event log takes what the others leave
  setCentralWidget(splitter_);
  // Beside the panes, and only when asked for: without it the window is as it always was.
  mib_dock_ = new QDockWidget(QStringLiteral("MIB Tree"), this);
  mib_dock_->setObjectName(QStringLiteral("mibTreeDock"));
  mib_dock_->setFeatures(QDockWidget::NoDockWidgetFeatures);
  mib_tree_ = new CMibTreeView(mib_dock_);
  mib_dock_->setWidget(mib_tree_);
  addDockWidget(Qt::RightDockWidgetArea, mib_dock_);
  mib_dock_->setVisible(app_.GetProfileInt(kFlagsSection, L"ShowMibTree", 0) != 0);
  connect(mib_tree_, &CMibTreeView::UseOid, this, &CMainWnd::UseOid);
  connect(mib_tree_, &CMibTreeView::WalkFrom, this, &CMainWnd::WalkFrom);
  statusBar()->setObjectName(QStringLiteral("statusBar"));  // the pages say there what runs
  ping_view_->ShowToolbar(flags_.ping_toolbar && app_.IcmpAvailable());

  // What could not be read of the user's MIB files, once they are read.
  connect(&CMibNames::Instance(), &CMibNames::LoadFinished, this, [] {
    for (const mib::MibProblem& problem : mib::CMibSet::Builtin().Problems())
      logs::LogEventLine(tvkutil::FromUtf8Lenient(mib::FormatProblem(problem)));
  });
  BuildMenus();
  RestorePlacement();
  UpdateCommandStates();
  // The settings were read before the event log existed.
  if (app_.SettingsFileNotText()) {
    logs::LogEvent(tvkutil::ids::kSettingsFileNotText,
                   tvkutil::FromUtf8Lenient(app_.SettingsFilePath()));
  }
}

CMainWnd::~CMainWnd() {
  app_.WriteProfileInt(kFlagsSection, L"EnablePingToolBar", flags_.ping_toolbar ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"EnableDeviceDiscovery", flags_.device_discovery ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"EnableGetSet", flags_.get_set ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"EnableSendTrap", flags_.send_trap ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"EnableWalkMIB", flags_.walk_mib ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"EnableNotifications", flags_.notifications ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"ShowNames", CMibNames::Instance().Shown() ? 1 : 0);
  app_.WriteProfileInt(kFlagsSection, L"ShowMibTree", mib_dock_->isVisibleTo(this) ? 1 : 0);
}

QAction* CMainWnd::Action(const char* name) const {
  return findChild<QAction*>(QString::fromLatin1(name));
}

void CMainWnd::BuildMenus() {
  auto add = [this](QMenu* menu, const char* name, const QString& text, auto slot) {
    QAction* a = menu->addAction(text);
    a->setObjectName(QString::fromLatin1(name));
    connect(a, &QAction::triggered, this, slot);
    return a;
  };
  QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
  add(file, "saveSnapshot", QStringLiteral("Save &Settings"), &CMainWnd::OnSaveSnapshot);
  file->addSeparator();
  QAction* exit = add(file, "exit", QStringLiteral("E&xit"), &CMainWnd::close);
  exit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

  QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
  QAction* copy = add(edit, "copy", QStringLiteral("&Copy"), [] { EditCommand("copy"); });
  copy->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_C), QKeySequence(Qt::CTRL | Qt::Key_Insert)});
  QAction* paste = add(edit, "paste", QStringLiteral("&Paste"), [] { EditCommand("paste"); });
  paste->setShortcuts(
      {QKeySequence(Qt::CTRL | Qt::Key_V), QKeySequence(Qt::SHIFT | Qt::Key_Insert)});
  auto* cut = new QAction(this);
  cut->setObjectName(QStringLiteral("cut"));
  cut->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_X));
  connect(cut, &QAction::triggered, this, [] { EditCommand("cut"); });
  addAction(cut);
  // Enter is left to the pages: in a field it starts that half's command, and nothing in the
  // window closes or leaves a page on it.

  QMenu* tools = menuBar()->addMenu(QStringLiteral("&Tools"));
  add(tools, "options", QStringLiteral("&Options"), &CMainWnd::OnOptions);

  QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
  add(view, "viewPingToolbar", QStringLiteral("&Ping Toolbar"), &CMainWnd::OnTogglePingToolbar);
  add(view, "viewDeviceDiscovery", QStringLiteral("&Device Discovery"),
      [this] { OnTogglePage(kPageDeviceDiscovery); });
  add(view, "viewGetSet", QStringLiteral("&Get/Set"), [this] { OnTogglePage(kPageGetSet); });
  add(view, "viewSendTrap", QStringLiteral("&sendTrap"), [this] { OnTogglePage(kPageSendTrap); });
  add(view, "viewWalkMib", QStringLiteral("&walkMIB"), [this] { OnTogglePage(kPageWalkMib); });
  add(view, "viewNotifications", QStringLiteral("N&otifications"),
      [this] { OnTogglePage(kPageNotifications); });
  for (QAction* a : view->actions())
    a->setCheckable(true);
  view->addSeparator();
  add(view, "viewDecodedMessage", QStringLiteral("Decoded &Message"), [this] {
    transaction_view_->SetDecodedPaneEnabled(!transaction_view_->DecodedPaneEnabled());
    UpdateCommandStates();
  })->setCheckable(true);
  add(view, "viewShowNames", QStringLiteral("Show &Names"), [this] {
    CMibNames::Instance().SetShown(!CMibNames::Instance().Shown());
    UpdateCommandStates();
  })->setCheckable(true);
  add(view, "viewMibTree", QStringLiteral("MIB &Tree"), [this] {
    mib_dock_->setVisible(!mib_dock_->isVisibleTo(this));
    UpdateCommandStates();
  })->setCheckable(true);

  QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
  add(help, "readme", QStringLiteral("Readme"), &CMainWnd::OnReadme);
  add(help, "about", QStringLiteral("&About Sondara Utility..."), &CMainWnd::OnAbout);

  for (QMenu* menu : {file, edit, tools, view, help}) {
    connect(menu, &QMenu::aboutToShow, this, &CMainWnd::UpdateCommandStates);
  }
}

void CMainWnd::UpdateCommandStates() {
  const bool icmp = app_.IcmpAvailable();
  Action("saveSnapshot")->setEnabled(SaveSnapshotEnabled(flags_, icmp));

  QLineEdit* edit = FocusedEdit();
  Action("copy")->setEnabled(edit != nullptr && edit->hasSelectedText());
  const QMimeData* clip = QApplication::clipboard()->mimeData();
  Action("paste")->setEnabled(edit != nullptr && !edit->isReadOnly() && clip != nullptr &&
                              clip->hasText());

  auto apply = [](QAction* a, CommandState s) {
    a->setEnabled(s.enabled);
    a->setChecked(s.checked);
  };
  apply(Action("viewPingToolbar"), PingToolbarState(flags_, icmp));
  apply(Action("viewDeviceDiscovery"), PageSwitchState(flags_, kPageDeviceDiscovery, icmp));
  apply(Action("viewGetSet"), PageSwitchState(flags_, kPageGetSet, icmp));
  apply(Action("viewSendTrap"), PageSwitchState(flags_, kPageSendTrap, icmp));
  apply(Action("viewWalkMib"), PageSwitchState(flags_, kPageWalkMib, icmp));
  apply(Action("viewNotifications"), PageSwitchState(flags_, kPageNotifications, icmp));
  Action("viewDecodedMessage")->setChecked(transaction_view_->DecodedPaneEnabled());
  Action("viewShowNames")->setChecked(CMibNames::Instance().Shown());
  Action("viewMibTree")->setChecked(mib_dock_->isVisibleTo(this));
  Action("readme")->setEnabled(QFileInfo::exists(ReadmePath()));
}

void CMainWnd::OnSaveSnapshot() {
  ping_view_->StoreToApp();
  sheet_view_->CollectForSnapshot();
  const bool saved = app_.SavePageSettings();
  logs::LogEvent(saved ? tvkutil::ids::kSnapshotSaved : tvkutil::ids::kSnapshotNotSaved,
                 tvkutil::FromUtf8Lenient(app_.SettingsFilePath()));
}

void CMainWnd::OnTogglePingToolbar() {
  flags_.ping_toolbar = !flags_.ping_toolbar;
  ping_view_->ShowToolbar(flags_.ping_toolbar && app_.IcmpAvailable());
  UpdateCommandStates();
}

void CMainWnd::OnTogglePage(PageId id) {
  bool& flag = flags_.ForPage(id);
  flag = !flag;
  if (flag) {
    sheet_view_->AddPage(id);
  } else {
    sheet_view_->RemovePage(id);
  }
  UpdateCommandStates();
}

void CMainWnd::UseOid(const QString& oid) {
  QWidget* page = sheet_view_->Sheet()->currentWidget();
  for (const char* field : {"getOid", "walkStartOid", "senderOid"}) {
    if (auto* combo = page->findChild<QComboBox*>(QString::fromLatin1(field))) {
      combo->setCurrentText(oid);
      combo->setFocus(Qt::OtherFocusReason);
      return;
    }
  }
}

void CMainWnd::WalkFrom(const QString& oid) {
  if (!flags_.walk_mib)
    OnTogglePage(kPageWalkMib);
  QWidget* page = sheet_view_->Page(kPageWalkMib);
  sheet_view_->Sheet()->setCurrentWidget(page);
  auto* walk = page->findChild<QPushButton*>(QStringLiteral("walkButton"));
  if (!walk->isEnabled() || walk->text() != tvkutil::UiText(tvkutil::ids::kBeginWalk))
    return;  // a walk or a request runs: nothing typed over it
  page->findChild<QComboBox*>(QStringLiteral("walkStartOid"))->setCurrentText(oid);
  walk->click();
}

void CMainWnd::OnOptions() {
  COptionsDialog dialog(app_, this);
  dialog.exec();
}

QString CMainWnd::ReadmePath() const {
  // Beside the program in a build folder; an installed program finds it with the other docs.
  const QString dir = QCoreApplication::applicationDirPath();
  const QString beside = dir + QStringLiteral("/Sondara.txt");
  const QString installed = dir + QStringLiteral("/../share/doc/sondara/Sondara.txt");
  return QFileInfo::exists(beside) || !QFileInfo::exists(installed)
             ? beside
             : QFileInfo(installed).canonicalFilePath();
}

void CMainWnd::OnReadme() {
  const QString path = ReadmePath();
  if (QFileInfo::exists(path))
    OpenReadme(path, this);
}

void CMainWnd::OnAbout() {
  CAboutDlg dialog(this);
  dialog.exec();
}

void CMainWnd::RestorePlacement() {
  const QRect screen = QGuiApplication::primaryScreen() != nullptr
                           ? QGuiApplication::primaryScreen()->availableGeometry()
                           : QRect(0, 0, 1280, 1024);
  const int x = app_.GetProfileInt(kWindowSection, L"x", 10);
  const int y = app_.GetProfileInt(kWindowSection, L"y", 10);
  // Half the screen wide by default, but never so narrow that the pages need a scroll bar when
  // the screen has the room.
  int page_width = 0;
  for (int i = 0; i < sheet_view_->Sheet()->count(); ++i)
    page_width = std::max(page_width, sheet_view_->Sheet()->widget(i)->sizeHint().width());
  const int fit_width = std::min(screen.width(), page_width + 40);
  // A placement kept on a larger screen still fits this one.
  const int cx =
      std::min(screen.width(),
               app_.GetProfileInt(kWindowSection, L"cx", std::max(screen.width() / 2, fit_width)));
  // The title bar and borders come on top of the size kept; they are known only once shown.
  constexpr int kFrameHeight = 40;
  const int cy =
      std::min(screen.height() - kFrameHeight,
               app_.GetProfileInt(kWindowSection, L"cy", screen.height() - kFrameHeight));
  auto pane = [&](const wchar_t* key, int def) {
    return std::max(kMinPaneHeight, app_.GetProfileInt(kWindowSection, key, def));
  };
  // The toolbar as tall as its line, the pages as tall as their tallest form needs; the logs
  // keep their few rows whatever is asked for (their minimum heights).
  const int h0 = pane(L"First Splitter", ping_view_->sizeHint().height());
  const int h1 = pane(L"Second Splitter", std::max(cy * 12 / 25, sheet_view_->FormHeight()));
  const int h2 = pane(L"Third Splitter", cy / 5);
  // The window always reopens in the normal state, at its last normal placement.
  // A placement kept on a monitor that is gone opens on one that is here.
  QList<QRect> screens;
  for (const QScreen* each : QGuiApplication::screens())
    screens << each->availableGeometry();
  const QRect placed =
      FitOntoScreens(QRect(x, y, std::max(cx, 200), std::max(cy, 200) + kFrameHeight), screens);
  resize(placed.width(), placed.height() - kFrameHeight);
  move(placed.topLeft());
  pending_sizes_ = {h0, h1, h2, std::max(kMinPaneHeight, cy - h0 - h1 - h2)};
  splitter_->setSizes(pending_sizes_);
}

void CMainWnd::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  // A splitter spreads heights in proportion until it has its real size, so the saved heights
  // are set again when the window first appears.
  if (!pending_sizes_.isEmpty()) {
    splitter_->setSizes(pending_sizes_);
    pending_sizes_.clear();
  }
  // The modules are read behind the window, never before it shows.
  CMibNames::Instance().StartLoading(CMibNames::Folders(app_));
}

void CMainWnd::SavePlacement() {
  if (isMinimized() || isMaximized()) {
    // The last normal placement stays in the profile.
    app_.WriteProfileInt(kWindowSection, L"State", isMinimized() ? -1 : 1);
  } else {
    const QRect frame = frameGeometry();
    app_.WriteProfileInt(kWindowSection, L"x", frame.x());
    app_.WriteProfileInt(kWindowSection, L"y", frame.y());
    app_.WriteProfileInt(kWindowSection, L"cx", width());
    app_.WriteProfileInt(kWindowSection, L"cy", height());
    app_.WriteProfileInt(kWindowSection, L"State", 0);
  }
  const QList<int> sizes = splitter_->sizes();
  app_.WriteProfileInt(kWindowSection, L"First Splitter", sizes.value(0));
  app_.WriteProfileInt(kWindowSection, L"Second Splitter", sizes.value(1));
  app_.WriteProfileInt(kWindowSection, L"Third Splitter", sizes.value(2));
}

void CMainWnd::closeEvent(QCloseEvent* event) {
  // Requests on their way are stopped, so the window closes at once; what they sent and
  // received is in the transaction log.
  ping_view_->StopPing();
  sheet_view_->Close();
  SavePlacement();
  // The pages hand their values to the application object before it saves them at exit.
  ping_view_->StoreToApp();
  sheet_view_->CollectForSnapshot();
  event->accept();
}

}  // namespace app
