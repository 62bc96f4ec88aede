// The log panes: the row cap, the menu, the decoded view and saves into a full disk.
#include <QAbstractItemModelTester>
#include <QDir>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextBlock>
#include <QTreeWidget>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include "logs/log_entry_points.h"
#include "settings/sondara_utility_app.h"
#include "snmp/usm_key_book.h"
#include "support/ber_builder.h"
#include "support/hex_bytes.h"
#include "support/small_filesystem.h"
#include "support/temp_folder.h"
#include "ui/logs/decoded_message_view.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/pages/device_discovery_page.h"
#include "ui/pages/walk_mib_page.h"
#include "ui/save_file_dialog.h"

namespace {

using logs::CLogTableView;

QVariant Cell(const CLogTableView& v, int row, int column, int role = Qt::DisplayRole) {
  const QAbstractItemModel* m = v.Table()->model();
  return m->data(m->index(row, column), role);
}

class LogViewsTest : public QObject {
  Q_OBJECT

  sondara_test::TempFolder dir_;
  std::unique_ptr<app::CSondaraUtilityApp> app_;

 private slots:
  void initTestCase() {
    // The data folder of the run is fixed at first use; point it at a folder of our own.
    ::setenv("SONDARA_HOME", dir_.Path().c_str(), 1);
    app_ = std::make_unique<app::CSondaraUtilityApp>(dir_ / "sondara.ini", dir_ / "profile.ini");
    app::CMibNames::Instance().StartLoading({});
    QTRY_VERIFY_WITH_TIMEOUT(app::CMibNames::Instance().Loaded(), 60000);
  }

  // Past the 1024-row cap the oldest rows leave the model at the top; the menu's Save writes the
  // log's file and says so after a Reset, with a line that was pending through the Reset.
  void CapResetAndSave() {
    logs::CEventLogView p(*app_);
    QAbstractItemModelTester tester(p.Table()->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (int n = 1; n <= 1025; ++n) {
      p.AddEvent(L"line " + std::to_wstring(n));
      if (n >= 1024)
        p.Tick();
    }
    QCOMPARE(p.Table()->model()->rowCount(), 1024);
    QCOMPARE(Cell(p, 0, 2).toString(), QStringLiteral("line 2"));

    const auto menu = p.BuildContextMenu();
    const QString chosen = QString::fromStdString(dir_ / "saved.txt");
    app::SetSaveDialog(
        [&](QWidget*, const QString&, const QString&, const QString&) { return chosen; });
    menu->findChild<QAction*>("save")->trigger();
    QCOMPARE(sondara_test::ReadFile(chosen.toStdString()), p.Log().SavedFileBytes());
    app::SetSaveDialog({});
    p.AddEvent(L"line 2000");
    menu->findChild<QAction*>("reset")->trigger();
    QCOMPARE(p.Table()->model()->rowCount(), 0);
    p.Tick();
    QCOMPARE(Cell(p, 0, 2).toString(), "Saved to '" + chosen + "'.");
    QCOMPARE(Cell(p, 1, 2).toString(), QStringLiteral("line 2000"));
  }

  void SelectedRowShowsItsMessageDecodedAndTheKeptDatagramsExport() {
    logs::CTransactionLogView view(*app_);
    view.resize(900, 600);
    view.show();
    logs::CDecodedMessageView* decoded = view.DecodedView();
    QVERIFY(decoded->isHidden());  // until a row is selected
    const auto get = testing_support::Hex(
        "30 2c 02 01 00 04 06 67 65 74 63 6f 6d a0 1f 02 01 00 02 01 00 02 01 00 30 14 30 12 06"
        "08 2b 06 01 02 01 01 01 00 06 06 2b 06 01 02 01 01");
    logs::LogDatagram(logs::kDirectionSent, L"Get", get, {});
    auto broken = get;
    broken.insert(broken.end(), {0, 0, 0});
    logs::LogDatagram(logs::kDirectionReceived, L"Get", broken, {});
    view.Tick();
    QCOMPARE(view.Table()->model()->rowCount(), 2);
    QCOMPARE(Cell(view, 0, 3, Qt::ForegroundRole).value<QColor>(), QColor(Qt::white));
    QCOMPARE(Cell(view, 0, 3, Qt::BackgroundRole).value<QColor>(), QColor(Qt::black));

    auto click_row = [&](int row) {
      const QModelIndex cell = view.Table()->model()->index(row, 3);
      QTest::mouseClick(view.Table()->viewport(), Qt::LeftButton, {},
                        view.Table()->visualRect(cell).center());
    };
    click_row(0);
    QVERIFY(decoded->isVisible());
    QTreeWidget* tree = decoded->Tree();
    const auto nodes = [&](const char* field) {
      return tree->findItems(field, Qt::MatchExactly | Qt::MatchRecursive);
    };
    QCOMPARE(nodes("community").size(), 1);
    QTreeWidgetItem* community = nodes("community").front();
    // Value, type, offset, tag and length, under the message.
    QCOMPARE((QStringList{community->text(1), community->text(2), community->text(3),
                          community->text(4), community->text(5), community->parent()->text(0)}),
             (QStringList{"getcom", "OCTET STRING", "5", "0x04", "6", "message"}));
    tree->scrollToItem(community);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {},
                      tree->visualItemRect(community).center());
    QCOMPARE(decoded->Highlighted(), (std::pair<std::uint32_t, std::uint32_t>(5, 8)));
    QStringList marked;
    for (const auto& mark : decoded->Bytes()->extraSelections())
      marked << mark.cursor.selectedText();
    QCOMPARE(marked, (QStringList{"04 06 67  65 74 63 6f 6d", "..getcom"}));
    QCOMPARE(nodes("name").size(), 1);
    QCOMPARE(nodes("name").front()->text(1), ".1.3.6.1.2.1.1.1.0 (SNMPv2-MIB::sysDescr.0)");
    QCOMPARE(nodes("value").front()->text(1), ".1.3.6.1.2.1.1 (SNMPv2-MIB::system)");  // OIDs too

    click_row(1);  // a message that does not decode: its damage node is selected
    QCOMPARE(tree->currentItem()->text(0),
             "Error at offset 46: 3 bytes after the end of the message");
    QCOMPARE(decoded->Highlighted(), (std::pair<std::uint32_t, std::uint32_t>(46, 3)));

    // A v3 Get of user "bob", its scoped PDU DES-encrypted with a key this run remembers: its
    // nodes highlight the plaintext's bytes, shown below the datagram's 8 lines and a title.
    using testing_support::Hex;
    const auto engine = Hex("80 00 1f 88 80 5a 1b 3c 4d 5e 6f 70 81");
    const auto key = Hex("526f5eed9fcce26f8964c2930787d82b");
    const auto sealed = snmp::usm::Encrypt(
        snmp::usm::PrivProtocol::kDes, key, 5, 123456, 0x05060708,
        Hex("30 1f 04 00 04 00 a0 19 02 01 07 02 01 00 02 01 00 30 0e 30 0c 06 08 2b 06 01 02 01"
            "01 01 00 05 00 07 07 07 07 07 07 07"));
    QVERIFY(sealed.has_value());
    snmp::usm::RememberPrivacyKey(engine, "bob", snmp::usm::PrivProtocol::kDes, key);
    const auto head =
        Hex("30 78 02 01 03 30 11 02 04 00 00 30 39 02 03 00 ff e3 04 01 07 02 01 03 04 36 30 34 04"
            "0d 80 00 1f 88 80 5a 1b 3c 4d 5e 6f 70 81 02 01 05 02 03 01 e2 40 04 03 62 6f 62 04 0c"
            "11 22 33 44 55 66 77 88 99 aa bb cc 04 08");
    const auto v3 = testing_support::Cat({head, sealed->salt, Hex("04 28"), sealed->text});
    logs::LogDatagram(logs::kDirectionSent, L"Get", v3, {});
    view.Tick();
    click_row(2);
    QCOMPARE(nodes("decrypted with the key of user 'bob'").size(), 1);
    QCOMPARE(nodes("request-id").size(), 1);
    QCOMPARE(nodes("request-id").front()->text(1), QStringLiteral("7"));
    tree->setCurrentItem(nodes("request-id").front());
    marked.clear();
    for (const auto& mark : decoded->Bytes()->extraSelections()) {
      marked << mark.cursor.selectedText();
      QCOMPARE(mark.cursor.block().blockNumber(), 10);
    }
    QCOMPARE(marked, (QStringList{"02 01 07", "..."}));

    view.SetDecodedPaneEnabled(false);
    QVERIFY(decoded->isHidden());
    view.SetDecodedPaneEnabled(true);
    QVERIFY(decoded->isVisible());

    auto menu = view.BuildContextMenu();
    QAction* exported = menu->findChild<QAction*>("exportPcapng");
    QVERIFY(exported != nullptr && exported->isEnabled());
    const QString chosen = QString::fromStdString(dir_ / "log.pcapng");
    app::SetSaveDialog([&](QWidget*, const QString&, const QString& filter, const QString& suffix) {
      return filter == "pcapng Files (*.pcapng)" && suffix == "pcapng" ? chosen : QString();
    });
    exported->trigger();
    app::SetSaveDialog({});
    const std::string file = sondara_test::ReadFile(chosen.toStdString());
    QVERIFY(file.find(std::string(broken.begin(), broken.end())) != std::string::npos);

    menu->findChild<QAction*>("reset")->trigger();
    QVERIFY(decoded->isHidden());
    QVERIFY(view.BuildContextMenu()->isEmpty());  // nothing shown, nothing kept
  }

  // Every save of the window into a full disk: the old file stays byte for byte, nothing else
  // is left beside it, and the message says why.
  void SavesIntoAFullDiskKeepTheOldFileAndSayWhy() {
    testing_support::SmallFileSystem fs;
    if (!fs.Why().empty())
      QSKIP(fs.Why().c_str());
    logs::CEventLogView events(*app_);
    events.AddEvent(L"an event");
    events.Tick();
    logs::CTransactionLogView transactions(*app_);
    logs::LogDatagram(logs::kDirectionSent, L"Get", std::vector<std::uint8_t>(100, 0x30), {});
    pages::CWalkMIBPropertyPage walk(*app_);
    pages::CDeviceDiscoveryPropertyPage discovery(*app_);
    const struct {
      const char* file;
      std::function<void()> save;
    } saves[] = {
        {"events.txt", [&] { QVERIFY(!events.SaveTo(QString::fromStdString(fs / "events.txt"))); }},
        {"log.pcapng",
         [&] { QVERIFY(!transactions.ExportTo(QString::fromStdString(fs / "log.pcapng"))); }},
        {"walk.csv", [&] { walk.OnSaveResults(); }},
        {"devices.csv", [&] { discovery.OnSaveResults(); }},
    };
    for (const auto& s : saves)
      sondara_test::WriteFile(fs / s.file, std::string("old ") + s.file);
    fs.Fill();
    QStringList messages;
    app::SetMessageBoxHook([&](const QString& text, app::MessageIcon) { messages << text; });
    for (const auto& s : saves) {
      const QString path = QString::fromStdString(fs / s.file);
      app::SetSaveDialog(
          [&](QWidget*, const QString&, const QString&, const QString&) { return path; });
      messages.clear();
      s.save();
      QCOMPARE(messages, QStringList{"Unable to save results to file " + path +
                                     ".\nNo space left on device"});
      QCOMPARE(sondara_test::ReadFile(fs / s.file), std::string("old ") + s.file);
    }
    app::SetSaveDialog({});
    app::SetMessageBoxHook({});
    QCOMPARE(QDir(QString::fromStdString(fs / "")).entryList(QDir::Files).size(),
             std::size(saves) + 1);  // and the filler
  }
};

}  // namespace

QTEST_MAIN(LogViewsTest)
#include "log_views_test.moc"
