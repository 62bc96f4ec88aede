// The main window at the smallest and a large screen size, on each page: every pane shows a few
// rows and every control of the page and the ping toolbar is reachable without scrolling
// sideways. With SONDARA_SCREENSHOT_DIR set, each case is also saved as a PNG there.
#include <QHeaderView>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include "app/main_wnd.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "pages/ping_view.h"
#include "util/temp_folder.h"

namespace {

// Rows a table shows in full.
int RowsInView(const QTableView* table) {
  return table->viewport()->height() / table->verticalHeader()->defaultSectionSize();
}

// Controls of `pane` that are shown but stick out of `visible` (in pane coordinates).
QStringList OutsideOf(const QWidget* pane, const QRect& visible) {
  QStringList outside;
  for (const QWidget* w : pane->findChildren<QWidget*>()) {
    if (!w->isVisibleTo(pane) || w->objectName().isEmpty() ||
        w->objectName().startsWith(QLatin1String("qt_")))
      continue;
    const QRect r(w->mapTo(pane, QPoint(0, 0)), w->size());
    if (r.left() < visible.left() || r.right() > visible.right())
      outside << w->objectName();
  }
  return outside;
}

class MainWndLayoutTest : public QObject {
  Q_OBJECT

 private slots:
  void PanesAndControlsFit_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<std::string>("panes");  // heights kept from an earlier run
    QTest::newRow("800x600") << QSize(800, 600) << std::string();
    QTest::newRow("1920x1080") << QSize(1920, 1080) << std::string();
    QTest::newRow("800x600 after a tall layout")
        << QSize(800, 600)
        << std::string("First Splitter=10\nSecond Splitter=700\nThird Splitter=400\n");
  }

  void PanesAndControlsFit() {
    QFETCH(QSize, size);
    QFETCH(std::string, panes);
    sondara_test::TempFolder dir;
    // A start on a screen of this size: the window fills it, the panes at their defaults or at
    // heights that no longer fit.
    sondara_test::WriteFile(dir / "profile.ini",
                            "[Main Window]\nx=0\ny=0\ncx=" + std::to_string(size.width()) +
                                "\ncy=" + std::to_string(size.height()) + "\n" + panes);
    app::CSondaraUtilityApp sondara(dir / "sondara.ini", dir / "profile.ini");
    app::CMainWnd w(sondara);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    QCOMPARE(w.size(), size);

    for (auto* log : {static_cast<logs::CLogTableView*>(w.TransactionView()),
                      static_cast<logs::CLogTableView*>(w.EventView())}) {
      QVERIFY2(RowsInView(log->Table()) >= 3, qPrintable(log->Table()->objectName()));
    }
    const QStringList ping_outside = OutsideOf(w.PingView(), w.PingView()->rect());
    QVERIFY2(ping_outside.isEmpty(), qPrintable(ping_outside.join(' ')));

    app::CPropertySheetView* sheet_view = w.PropertySheetView();
    QTabWidget* sheet = sheet_view->Sheet();
    for (int i = 0; i < sheet->count(); ++i) {
      sheet->setCurrentIndex(i);
      QWidget* page = sheet->currentWidget();
      QApplication::processEvents();
      const QString name = QString(static_cast<app::CPropertyPage*>(page)->Caption()).remove('&');
      const QString shots = qEnvironmentVariable("SONDARA_SCREENSHOT_DIR");
      if (!shots.isEmpty() && panes.empty()) {
        w.grab().save(QStringLiteral("%1/main-window-%2x%3-%4.png")
                          .arg(shots)
                          .arg(size.width())
                          .arg(size.height())
                          .arg(name.toLower().replace(QRegularExpression("[^a-z]"), "")));
      }
      // A page may scroll up and down, never sideways, and shows at least a few of its rows.
      QVERIFY2(!sheet_view->horizontalScrollBar()->isVisible(), qPrintable(name));
      QVERIFY2(sheet_view->viewport()->height() >= 4 * QPushButton().sizeHint().height(),
               qPrintable(name));
      const QRect visible(page->mapFrom(sheet_view->viewport(), QPoint(0, 0)),
                          sheet_view->viewport()->size());
      const QStringList outside = OutsideOf(page, visible);
      QVERIFY2(outside.isEmpty(), qPrintable(name + ": " + outside.join(' ')));
      for (QTableView* table : page->findChildren<QTableView*>())
        QVERIFY2(RowsInView(table) >= 3, qPrintable(name));
    }
  }
};

}  // namespace

// The offscreen screen is 800x600 unless told otherwise; the window must be able to fill a
// 1920x1080 one.
int main(int argc, char** argv) {
  sondara_test::TempFolder dir;
  if (qgetenv("QT_QPA_PLATFORM") == "offscreen") {
    sondara_test::WriteFile(dir / "screen.json",
                            R"({"screens": [{"name": "big", "x": 0, "y": 0, "width": 1920,)"
                            R"( "height": 1080, "logicalDpi": 96}]})");
    qputenv("QT_QPA_PLATFORM", QByteArray("offscreen:configfile=") + (dir / "screen.json").c_str());
  }
  QApplication app(argc, argv);
  MainWndLayoutTest test;
  return QTest::qExec(&test, argc, argv);
}
#include "main_wnd_layout_test.moc"
