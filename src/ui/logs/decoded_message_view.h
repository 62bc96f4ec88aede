// CDecodedMessageView: one datagram of the transaction log taken apart. On the left the decoded
// tree (field, value, BER type, offset, identifier octet, length), on the right the bytes in hex
// and ASCII; selecting a node highlights its bytes. An SNMPv3 scoped PDU that this run has the
// key for is shown decrypted too, its plaintext's bytes below the datagram's. A message that does
// not decode ends in a node that says where and why, and that node is selected.
#pragma once

#include <QWidget>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "logs/datagram_store.h"

class QPlainTextEdit;
class QSplitter;
class QTreeWidget;
class QTreeWidgetItem;

namespace logs {

class CDecodedMessageView : public QWidget {
  Q_OBJECT

 public:
  explicit CDecodedMessageView(QWidget* parent = nullptr);

  // Decodes and shows the datagram.
  void ShowDatagram(const std::shared_ptr<const KeptDatagram>& datagram);
  // No datagram behind the row: the tree holds one line saying so, the bytes pane is empty.
  void ShowNote(const QString& note);

  QTreeWidget* Tree() const { return tree_; }
  QPlainTextEdit* Bytes() const { return bytes_; }
  // The datagram shown, null after ShowNote.
  const KeptDatagram* Shown() const { return datagram_.get(); }
  // Offset and size of the highlighted bytes (the selected node's); size 0 when none.
  std::pair<std::uint32_t, std::uint32_t> Highlighted() const { return highlighted_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  // `in_plaintext`: the offset counts in the decrypted scoped PDU, not the datagram.
  void Highlight(std::uint32_t offset, std::uint32_t size, bool in_plaintext);

  QSplitter* split_ = nullptr;
  bool sized_ = false;  // the bytes got the width of a whole line once
  QTreeWidget* tree_ = nullptr;
  QPlainTextEdit* bytes_ = nullptr;
  std::shared_ptr<const KeptDatagram> datagram_;
  std::vector<std::uint8_t> plaintext_;  // the decrypted scoped PDU, if any
  int plaintext_line_ = 0;               // where its dump starts in the bytes pane
  std::pair<std::uint32_t, std::uint32_t> highlighted_{0, 0};
};

}  // namespace logs
