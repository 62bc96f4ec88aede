// The numeric fields: what typing and pasting let in and how often they beep, the typed-length
// limit, and text to value and back in each base.
#include <QClipboard>
#include <QGuiApplication>
#include <QTest>
#include <memory>

#include "ui/numeric_edit.h"
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

  void TypedAndPastedRefuseWithABeepPerCharacter() {
    const QString sep(QChar(tvkutil::CRealNumEdit().DecimalSeparator()));
    const struct {
      int base;  // -1: a real-number field
      QString input, kept;
      int beeps;
    } cases[] = {
        {tvkutil::kBaseUnsignedDecimal, "12a3", "123", 1},
        {tvkutil::kBaseSignedDecimal, "--5-", "--5-", 0},  // minus anywhere
        {tvkutil::kBaseOctal, "1789", "17", 2},
        {tvkutil::kBaseHexadecimal, "fFgG1x", "fF1", 3},
        {-1, "-1" + sep + "5e3E2x", "-1" + sep + "5e3E2", 1},
    };
    for (const auto& c : cases) {
      for (bool paste : {false, true}) {
        std::unique_ptr<tvkutil::CEditBase> edit = std::make_unique<tvkutil::CRealNumEdit>();
        if (c.base >= 0) {
          auto* numeric = new CNumericEdit;
          numeric->SetBase(c.base);
          edit.reset(numeric);
        }
        beeps_ = 0;
        QGuiApplication::clipboard()->setText(c.input);
        paste ? edit->paste() : QTest::keyClicks(edit.get(), c.input);
        QCOMPARE(edit->text(), c.kept);
        QCOMPARE(beeps_, c.beeps);
      }
    }
  }

  void TypedLengthLimit() {
    CNumericEdit edit;
    edit.SetTextLimit(3);
    edit.SetValue(98765);  // the program may show more than a user may type
    QCOMPARE(edit.text(), QString("98765"));
    edit.selectAll();
    QGuiApplication::clipboard()->setText("4a5678");
    QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClicks(&edit, "7b");  // full: the digit is dropped quietly, the letter beeps
    QCOMPARE(edit.text(), QString("456"));
    QCOMPARE(beeps_, 2);
  }

  void ValuesInABase() {
    const struct {
      int base;
      QString text;
      std::uint32_t value;
      QString shown;  // the value as the field shows it
    } cases[] = {
        {tvkutil::kBaseSignedDecimal, "-5", 0xFFFFFFFBu, "-5"},
        {tvkutil::kBaseSignedDecimal, "--5", 0, "0"},  // two minus signs can be typed
        {tvkutil::kBaseSignedDecimal, "99999999999", 0x7FFFFFFF, "2147483647"},
        {tvkutil::kBaseUnsignedDecimal, "010", 10, "10"},  // decimal, not octal
        {tvkutil::kBaseOctal, "10", 8, "10"},
        {tvkutil::kBaseHexadecimal, "DEADBEEF", 0xDEADBEEF, "DEADBEEF"},
    };
    for (const auto& c : cases) {
      CNumericEdit edit;
      edit.SetBase(c.base);
      edit.setText(c.text);
      QCOMPARE(edit.GetValue(), c.value);
      edit.SetValue(c.value);
      QCOMPARE(edit.text(), c.shown);
    }
    CNumericEdit hex;
    hex.SetBase(tvkutil::kBaseHexadecimal);
    hex.SetText("4096");  // decimal in, shown in the field's base, read back in decimal
    QCOMPARE(hex.text(), QString("1000"));
    QCOMPARE(hex.ReadText(), QString("4096"));
  }
};

}  // namespace

QTEST_MAIN(NumericEditTest)
#include "numeric_edit_test.moc"
