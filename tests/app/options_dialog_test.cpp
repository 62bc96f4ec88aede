// The Options dialog: fields found by their captions, range checks of OK, OK and Cancel.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include "app/message_box_dialog.h"
#include "app/options_dialog.h"
#include "app/sondara_utility_app.h"
#include "net/adapter_table.h"
#include "util/numeric_edit.h"
#include "util/temp_folder.h"

namespace {

using net::MakeAdapterInfo;

const QString kConnect = "&Connect Timeout (seconds):";
const QString kRequest = "&Request Timeout (milliseconds):";
const QString kRetries = "R&etries:";
const QString kBulk = "&GetBulk repetitions for walkMIB:";

// A dialog over stores and adapters of its own; warnings are recorded, never shown.
struct Options {
  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp sondara{dir / "sondara.ini", dir / "profile.ini"};
  net::CAdapterTable adapters{{MakeAdapterInfo(L"eth1", L"10.0.0.2", true, 0),
                               MakeAdapterInfo(L"eth0", L"10.0.0.1", true, 0)},
                              {MakeAdapterInfo(L"wlan0", L"fe80::2%3", false, 3),
                               MakeAdapterInfo(L"Eth0", L"2001:db8::1", false, 2)}};
  app::COptionsDialog d{sondara, adapters};
  QStringList warnings;

  Options() {
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon) { warnings << text; });
  }
  ~Options() { app::SetMessageBoxHook(nullptr); }
  // The control a caption names, as Alt+letter reaches it.
  tvkutil::CNumericEdit* Field(const QString& caption) const {
    for (QLabel* label : d.findChildren<QLabel*>()) {
      if (label->text() == caption)
        return qobject_cast<tvkutil::CNumericEdit*>(label->buddy());
    }
    return nullptr;
  }
  void Type(const QString& caption, const QString& text) const {
    Field(caption)->selectAll();
    QTest::keyClick(Field(caption), Qt::Key_Backspace);
    QTest::keyClicks(Field(caption), text);
  }
  void SpinUp(const QString& caption, int times) const {
    for (auto* spin : d.findChildren<tvkutil::SpinButtons*>()) {
      for (int i = 0; i < times && spin->Buddy() == Field(caption); ++i)
        QTest::mouseClick(spin->UpButton(), Qt::LeftButton);
    }
  }
  void Click(const QString& text) const {
    for (QPushButton* b : d.findChildren<QPushButton*>()) {
      if (b->text() == text)
        QTest::mouseClick(b, Qt::LeftButton);
    }
  }
  // Near the box: a check box stretched across the dialog takes clicks only by its text.
  void ClickUseIPv6() const {
    auto* box = d.findChild<QCheckBox*>();
    QCOMPARE(box->text(), QString("&Use IPv6"));
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(6, box->height() / 2));
  }
  // use IPv6, connect time-out, request time-out, retries, GetBulk repetitions
  QList<int> Stored() const {
    const app::NetworkSettings& n = sondara.Network();
    return {n.use_ipv6, n.connect_timeout_s, n.request_timeout_ms, n.retries,
            n.walk_bulk_repetitions};
  }
};

class OptionsDialogTest : public QObject {
  Q_OBJECT

 private slots:
  void OkChecksRangesInOrder() {
    const QString request_range = "Please enter an integer between 100 and 30000.";
    const struct {
      QStringList typed;  // connect, request, retries, GetBulk repetitions
      QString warning;    // empty: accepted
      QString focused;
    } cases[] = {
        {{"3", "99", "3", "0"}, request_range, kRequest},
        {{"3", "30001", "3", "0"}, request_range, kRequest},
        {{"3", "100", "3", "999"}, "", ""},
        {{"30", "30000", "1", "0"}, "", ""},
        {{"3", "100", "3", ""}, "", ""},  // an empty box reads as 0: GetNext
        {{"", "99", "0", "0"}, "Please enter an integer between 1 and 30.", kConnect},  // first
    };
    for (const auto& c : cases) {
      Options o;
      o.d.show();
      QVERIFY(QTest::qWaitForWindowActive(&o.d));
      o.ClickUseIPv6();
      o.Type(kConnect, c.typed[0]);
      o.Type(kRequest, c.typed[1]);
      o.Type(kRetries, c.typed[2]);
      o.Type(kBulk, c.typed[3]);
      o.Click("&OK");
      if (c.warning.isEmpty()) {
        QCOMPARE(o.Stored(), QList<int>({1, c.typed[0].toInt(), c.typed[1].toInt(),
                                         c.typed[2].toInt(), c.typed[3].toInt()}));
      } else {
        QCOMPARE(o.warnings, QStringList{c.warning});
        QVERIFY(o.d.isVisible());
        QCOMPARE(QApplication::focusWidget(), o.Field(c.focused));
        QCOMPARE(o.Stored(), QList<int>({0, 3, 1000, 3, 0}));  // not even what passed
      }
    }
  }

  void OkStoresEverythingCancelNothing() {
    for (const QString button : {"Cance&l", "&OK"}) {
      Options o;
      o.ClickUseIPv6();
      o.d.findChild<QComboBox*>()->setCurrentText("wlan0[fe80::2%3]");
      o.SpinUp(kConnect, 1);
      o.Type(kRequest, "2500");
      o.SpinUp(kRetries, 8);  // stops at 10
      o.Type(kBulk, "50");
      o.Click(button);
      const bool ok = button == "&OK";
      QCOMPARE(o.d.result(), int(ok ? QDialog::Accepted : QDialog::Rejected));
      QCOMPARE(o.sondara.Network().adapter_name, std::wstring(ok ? L"wlan0[fe80::2%3]" : L""));
      QCOMPARE(o.sondara.Network().adapter.ipv6_scope_id, ok ? 3u : 0u);
      QCOMPARE(o.Stored(), ok ? QList<int>({1, 4, 2500, 10, 50}) : QList<int>({0, 3, 1000, 3, 0}));
    }
  }
};

}  // namespace

QTEST_MAIN(OptionsDialogTest)
#include "options_dialog_test.moc"
