// The numeric fields as a user meets them: what typing and pasting let in and how often they
// beep, the typed-length limit, values in a base, and the spin buttons beside a field.
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QTest>
#include <QToolButton>
#include <memory>

#include "util/numeric_edit.h"
#include "util/numeric_filter.h"

namespace {

using tvkutil::CNumericEdit;

class NumericEditTest : public QObject {
  Q_OBJECT

  int beeps_ = 0;

 private slots:
  void init() {
    beeps_ = 0;
    tvkutil::SetRefusalBeep([this] { ++beeps_; });
  }
  void cleanup() { tvkutil::SetRefusalBeep({}); }

  void TypedAndPasted() {
    const QString sep(QChar(tvkutil::CRealNumEdit().DecimalSeparator()));
    const struct {
      int base;  // -1: a real-number field
      QString input, kept;
      int beeps;
    } cases[] = {
        {tvkutil::kBaseUnsignedDecimal, "12a3", "123", 1},
        {tvkutil::kBaseUnsignedDecimal, "- 7", "7", 2},
        {tvkutil::kBaseSignedDecimal, "--5-", "--5-", 0},  // minus anywhere
        {tvkutil::kBaseOctal, "1789", "17", 2},
        {tvkutil::kBaseHexadecimal, "fFgG1x", "fF1", 3},
        {7, "01", "", 2},  // unknown base
        {-1, "-1" + sep + "5e3E2x", "-1" + sep + "5e3E2", 1},
    };
    for (const auto& c : cases) {
      for (bool paste : {false, true}) {
        std::unique_ptr<tvkutil::CEditBase> edit;
        if (c.base < 0) {
          edit = std::make_unique<tvkutil::CRealNumEdit>();
        } else {
          auto numeric = std::make_unique<CNumericEdit>();
          numeric->SetBase(c.base);
          edit = std::move(numeric);
        }
        beeps_ = 0;
        if (paste) {
          QGuiApplication::clipboard()->setText(c.input);
          edit->paste();
        } else {
          QTest::keyClicks(edit.get(), c.input);
        }
        QCOMPARE(edit->text(), c.kept);
        QCOMPARE(beeps_, c.beeps);
      }
    }
  }

  void EditingKeysPasteKeyAndLimit() {
    CNumericEdit edit;
    QTest::keyClicks(&edit, "123");
    QTest::keyClick(&edit, Qt::Key_Backspace);
    QTest::keyClick(&edit, Qt::Key_Home);
    QTest::keyClick(&edit, Qt::Key_Delete);
    QGuiApplication::clipboard()->setText("x9");
    QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(edit.text(), QString("92"));
    QCOMPARE(beeps_, 1);

    edit.SetTextLimit(3);
    edit.SetValue(98765);  // the program may show more than a user may type
    QCOMPARE(edit.text(), QString("98765"));
    edit.selectAll();
    QGuiApplication::clipboard()->setText("4a5678");
    edit.paste();
    QTest::keyClicks(&edit, "7b");  // full: the digit is dropped quietly, the letter beeps
    QCOMPARE(edit.text(), QString("456"));
    QCOMPARE(beeps_, 3);

    auto* image = new QMimeData;
    image->setData("image/png", QByteArray("\x89PNG", 4));
    QGuiApplication::clipboard()->setMimeData(image);
    edit.paste();
    QCOMPARE(edit.text(), QString("456"));
    QCOMPARE(beeps_, 4);
  }

  void HexValuesAndTextFromTheProgram() {
    CNumericEdit hex;
    hex.SetBase(tvkutil::kBaseHexadecimal);
    hex.SetValue(255);
    QCOMPARE(hex.text(), QString("FF"));
    hex.SetText("4096");  // decimal in, shown in the field's base, read back in decimal
    QCOMPARE(hex.text(), QString("1000"));
    QCOMPARE(hex.ReadText(), QString("4096"));
    hex.SetRawText("");
    QTest::keyClicks(&hex, "ff");
    QCOMPARE(hex.ReadText(), QString("255"));
  }

  void SpinStepsWithinTheRange() {
    CNumericEdit edit;
    tvkutil::SpinButtons spin(&edit);
    spin.SetRange(100, 30000);
    spin.SetStep(100);
    QToolButton *up = spin.UpButton(), *down = spin.DownButton();
    const struct {
      const char* start;
      QToolButton* button;
      const char* after;
    } cases[] = {{"1000", up, "1100"}, {"29950", up, "30000"}, {"30000", up, "30000"},
                 {"150", down, "100"}, {"99", up, "100"},      {"", down, "100"}};
    for (const auto& c : cases) {
      edit.setText(c.start);
      QTest::mouseClick(c.button, Qt::LeftButton);
      QCOMPARE(edit.text(), QString(c.after));
    }
    QTest::keyClick(&edit, Qt::Key_Up);
    QCOMPARE(edit.text(), QString("200"));
  }
};

}  // namespace

QTEST_MAIN(NumericEditTest)
#include "numeric_edit_test.moc"
