#include "ui/logs/decoded_message_view.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTextBlock>
#include <QTreeWidget>
#include <algorithm>
#include <vector>

#include "snmp/asn_data_type.h"
#include "snmp/message_tree.h"
#include "snmp/usm_key_book.h"
#include "ui/mib_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace logs {

namespace {

enum Column { kField, kValue, kType, kOffset, kTag, kLength, kColumns };

constexpr int kOffsetRole = Qt::UserRole;
constexpr int kSizeRole = Qt::UserRole + 1;
constexpr int kPlaintextRole = Qt::UserRole + 2;

// "0010  30 26 02 01 00 04 06 67  65 74 63 6f 6d a0 19 02  0&.....getcom..."
constexpr std::uint32_t kBytesPerLine = 16;
constexpr int kHexColumn = 6;
constexpr int kAsciiColumn = kHexColumn + 3 * kBytesPerLine + 2;

int HexColumnOf(std::uint32_t index_in_line) {
  return kHexColumn + 3 * static_cast<int>(index_in_line) + (index_in_line >= 8 ? 1 : 0);
}

QString HexDump(const std::vector<std::uint8_t>& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  QString text;
  for (std::size_t line = 0; line * kBytesPerLine < bytes.size(); ++line) {
    if (line != 0)
      text += QLatin1Char('\n');
    QString row(kAsciiColumn, QLatin1Char(' '));
    row.replace(0, 4, QStringLiteral("%1").arg(line * kBytesPerLine, 4, 16, QLatin1Char('0')));
    const std::size_t first = line * kBytesPerLine;
    const std::size_t count = std::min<std::size_t>(kBytesPerLine, bytes.size() - first);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint8_t b = bytes[first + i];
      const int col = HexColumnOf(static_cast<std::uint32_t>(i));
      row[col] = QLatin1Char(kDigits[b >> 4]);
      row[col + 1] = QLatin1Char(kDigits[b & 0x0F]);
      row += b >= 0x20 && b < 0x7F ? QLatin1Char(static_cast<char>(b)) : QLatin1Char('.');
    }
    text += row;
  }
  return text;
}

}  // namespace

CDecodedMessageView::CDecodedMessageView(QWidget* parent) : QWidget(parent) {
  tree_ = new QTreeWidget(this);
  tree_->setObjectName(QStringLiteral("decodedTree"));
  tree_->setColumnCount(kColumns);
  tree_->setHeaderLabels({QStringLiteral("Field"), QStringLiteral("Value"), QStringLiteral("Type"),
                          QStringLiteral("Offset"), QStringLiteral("Tag"),
                          QStringLiteral("Length")});
  tree_->setUniformRowHeights(true);
  tree_->setSelectionMode(QAbstractItemView::SingleSelection);
  tree_->header()->setStretchLastSection(false);
  // Names come with View > Show Names and once the modules are read.
  const auto redecode = [this] {
    if (datagram_)
      ShowDatagram(std::shared_ptr<const KeptDatagram>(datagram_));
  };
  connect(&app::CMibNames::Instance(), &app::CMibNames::ShownChanged, this, redecode);
  connect(&app::CMibNames::Instance(), &app::CMibNames::LoadFinished, this, redecode);

  bytes_ = new QPlainTextEdit(this);
  bytes_->setObjectName(QStringLiteral("decodedBytes"));
  bytes_->setReadOnly(true);
  bytes_->setLineWrapMode(QPlainTextEdit::NoWrap);
  bytes_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  bytes_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

  split_ = new QSplitter(Qt::Horizontal, this);
  split_->setChildrenCollapsible(false);
  split_->addWidget(tree_);
  split_->addWidget(bytes_);
  split_->setStretchFactor(0, 1);
  split_->setStretchFactor(1, 0);
  auto* box = new QHBoxLayout(this);
  box->setContentsMargins(0, 0, 0, 0);
  box->addWidget(split_);
  // Room for a message's header and first bindings without scrolling.
  setMinimumHeight(tree_->fontMetrics().height() * 12);

  connect(tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
    if (item == nullptr) {
      Highlight(0, 0, false);
      return;
    }
    Highlight(item->data(kField, kOffsetRole).toUInt(), item->data(kField, kSizeRole).toUInt(),
              item->data(kField, kPlaintextRole).toBool());
  });
}

void CDecodedMessageView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (sized_)
    return;
  // The bytes pane as wide as one whole line of offset, hex and ASCII when the window allows;
  // the tree takes the rest.
  const int line = QFontMetrics(bytes_->font()).horizontalAdvance(QString(kAsciiColumn + 17, 'M'));
  const int total = split_->width();
  const int bytes = std::min(total / 2, line + bytes_->verticalScrollBar()->sizeHint().width());
  split_->setSizes({total - bytes, bytes});
  sized_ = true;
}

void CDecodedMessageView::ShowDatagram(const std::shared_ptr<const KeptDatagram>& datagram) {
  datagram_ = datagram;
  tree_->clear();
  highlighted_ = {0, 0};
  snmp::MessageTree decoded =
      snmp::DecodeMessageTree(datagram_->bytes, snmp::usm::DecryptWithRememberedKey);
  plaintext_ = std::move(decoded.plaintext);
  QString dump = HexDump(datagram_->bytes);
  plaintext_line_ = static_cast<int>(dump.count(QLatin1Char('\n'))) + 3;
  if (!plaintext_.empty()) {
    dump += QLatin1String("\n\n") +
            QString::fromStdWString(tvkutil::LoadString(tvkutil::ids::kDecodedPlaintext)) +
            QLatin1Char('\n') + HexDump(plaintext_);
  }
  bytes_->setPlainText(dump);

  std::vector<QTreeWidgetItem*> items;
  items.reserve(decoded.nodes.size());
  QTreeWidgetItem* damage = nullptr;
  for (const snmp::MessageNode& node : decoded.nodes) {
    QTreeWidgetItem* parent =
        node.parent < 0 ? nullptr : items[static_cast<std::size_t>(node.parent)];
    auto* item = parent == nullptr ? new QTreeWidgetItem(tree_) : new QTreeWidgetItem(parent);
    items.push_back(item);
    item->setData(kField, kOffsetRole, node.offset);
    item->setData(kField, kSizeRole, node.size);
    item->setData(kField, kPlaintextRole, node.decrypted);
    item->setText(kOffset, QString::number(node.offset));
    if (node.tag >= 0)
      item->setText(
          kTag, QStringLiteral("0x") +
                    QString::number(node.tag, 16).toUpper().rightJustified(2, QLatin1Char('0')));
    if (node.damage) {
      item->setText(kField, QString::fromStdWString(tvkutil::FormatN(
                                tvkutil::LoadString(tvkutil::ids::kDecodedError), SIZE_MAX,
                                static_cast<int>(node.offset), node.value)));
      item->setForeground(kField, QColor(Qt::red));
      item->setToolTip(kField, item->text(kField));
      damage = item;
      continue;
    }
    item->setText(kField, QString::fromStdWString(node.field));
    std::wstring value = node.value;
    if (node.tag == static_cast<int>(snmp::kTagOid)) {  // names, values, enterprises
      if (const std::wstring name = app::CMibNames::Instance().NameOf(value); !name.empty())
        value += L" (" + name + L")";
    }
    item->setText(kValue, QString::fromStdWString(value));
    item->setToolTip(kValue, item->text(kValue));
    item->setText(kType, QString::fromStdWString(node.type));
    item->setText(kLength, QString::number(node.length));
  }
  tree_->expandAll();
  for (int c = 0; c < kColumns; ++c)
    tree_->resizeColumnToContents(c);
  if (damage != nullptr) {
    // The error text would widen the field column for every row; it spans the row instead.
    damage->setFirstColumnSpanned(true);
    tree_->setCurrentItem(damage);
    tree_->scrollToItem(damage);
  }
}

void CDecodedMessageView::ShowNote(const QString& note) {
  datagram_.reset();
  plaintext_.clear();
  tree_->clear();
  bytes_->clear();
  highlighted_ = {0, 0};
  auto* item = new QTreeWidgetItem(tree_, QStringList{note});
  item->setFirstColumnSpanned(true);
}

void CDecodedMessageView::Highlight(std::uint32_t offset, std::uint32_t size, bool in_plaintext) {
  highlighted_ = {offset, size};
  QList<QTextEdit::ExtraSelection> marks;
  if (datagram_ != nullptr && size != 0) {
    const std::size_t shown = in_plaintext ? plaintext_.size() : datagram_->bytes.size();
    const int first_line = in_plaintext ? plaintext_line_ : 0;
    const std::uint32_t end =
        std::min<std::uint32_t>(offset + size, static_cast<std::uint32_t>(shown));
    QTextCharFormat look;
    look.setBackground(palette().highlight());
    look.setForeground(palette().highlightedText());
    auto mark = [&](const QTextBlock& block, int from, int to) {
      QTextEdit::ExtraSelection s;
      s.format = look;
      s.cursor = QTextCursor(bytes_->document());
      s.cursor.setPosition(block.position() + from);
      s.cursor.setPosition(block.position() + to, QTextCursor::KeepAnchor);
      marks << s;
    };
    for (std::uint32_t line = offset / kBytesPerLine; line * kBytesPerLine < end; ++line) {
      const QTextBlock block =
          bytes_->document()->findBlockByNumber(first_line + static_cast<int>(line));
      const std::uint32_t first = std::max(offset, line * kBytesPerLine) - line * kBytesPerLine;
      const std::uint32_t last =
          std::min(end, (line + 1) * kBytesPerLine) - 1 - line * kBytesPerLine;
      mark(block, HexColumnOf(first), HexColumnOf(last) + 2);
      mark(block, kAsciiColumn + static_cast<int>(first),
           kAsciiColumn + static_cast<int>(last) + 1);
    }
    if (!marks.isEmpty()) {
      QTextCursor first = marks.front().cursor;
      first.clearSelection();
      bytes_->setTextCursor(first);
      bytes_->ensureCursorVisible();
    }
  }
  bytes_->setExtraSelections(marks);
}

}  // namespace logs
