#include "logs/transaction_log.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "logs/utf16_file.h"
#include "util/file_replace.h"
#include "util/string_table.h"
#include "util/text.h"

namespace logs {

namespace {

// The saved file pads the source column to this width.
constexpr int kSourceColumnWidth = 21;

std::wstring HexRowText(const std::uint8_t* bytes, std::size_t len) {
  static constexpr wchar_t kDigits[] = L"0123456789abcdef";
  // Filled in place: every message a walk sends and receives passes through here.
  std::wstring text(len * 3, L' ');
  wchar_t* out = text.data();
  for (std::size_t i = 0; i < len; ++i, out += 3) {
    out[0] = kDigits[bytes[i] >> 4];
    out[1] = kDigits[bytes[i] & 0x0F];
  }
  return text;
}

}  // namespace

std::wstring DirectionText(std::int32_t direction) {
  switch (direction) {
    case kDirectionSent:
      return L"TX";
    case kDirectionReceived:
      return L"RX";
    default:
      return L"";
  }
}

std::wstring SourceColumnText(const CTransactionRow& row) {
  return tvkutil::FormatN(L"[%s]%s:", SIZE_MAX, row.source, DirectionText(row.direction));
}

std::vector<CTransactionRow> SplitTransaction(std::int32_t direction, std::wstring_view source,
                                              const std::uint8_t* data, std::size_t length,
                                              int is_text) {
  if (data == nullptr)
    length = 0;
  const std::size_t row_bytes = is_text == 0 ? kHexRowBytes : kTextRowBytes;
  // Always one row more than the full rows: an exact multiple ends with an empty row. The view
  // has always shown it that way and users read the empty row as the end of the message.
  const std::size_t rows = length / row_bytes + 1;
  std::vector<CTransactionRow> out(rows);
  std::size_t offset = 0;
  for (std::size_t r = 0; r < rows; ++r) {
    const std::size_t take = std::min(row_bytes, length - offset);
    CTransactionRow& row = out[r];
    row.stamp = TakeTimeStamp();
    row.source.assign(source);
    row.direction = direction;
    row.first_row = r == 0;
    if (is_text == 0) {
      row.text = HexRowText(data + offset, take);
    } else {
      row.text = tvkutil::FromUtf8Lenient(
          std::string_view(reinterpret_cast<const char*>(data + offset), take));
    }
    offset += take;
  }
  return out;
}

void CTransactionLog::AddTransaction(std::int32_t direction, std::wstring_view source,
                                     const std::uint8_t* data, std::size_t length, int is_text) {
  if (is_text == 0) {
    AddDatagram(direction, source, std::span(data, data == nullptr ? 0 : length), {});
    return;
  }
  std::vector<std::unique_ptr<CTransactionRow>> rows;
  for (auto& row : SplitTransaction(direction, source, data, length, is_text)) {
    rows.push_back(std::make_unique<CTransactionRow>(std::move(row)));
  }
  // One message's rows go in together, so another thread's message cannot interleave.
  queue_.AddAll(rows);
}

void CTransactionLog::AddDatagram(std::int32_t direction, std::wstring_view source,
                                  std::span<const std::uint8_t> bytes, const DatagramEnds& ends) {
  const std::uint64_t number = datagrams_.Add(direction, source, bytes, ends, NowMicroseconds());
  std::vector<std::unique_ptr<CTransactionRow>> rows;
  for (auto& row : SplitTransaction(direction, source, bytes.data(), bytes.size(), 0)) {
    row.datagram = number;
    rows.push_back(std::make_unique<CTransactionRow>(std::move(row)));
  }
  queue_.AddAll(rows);
}

tvkutil::LogTickResult CTransactionLog::MovePending() {
  // The view and the saved file start at a message's first row, never inside a message.
  const tvkutil::LogTickResult change =
      queue_.MovePending([](const auto& row) { return row->first_row; });
  const std::size_t shown = queue_.ShownCount();
  for (std::size_t i = shown - std::min(change.appended, shown); i < shown; ++i)
    shown_through_ = std::max(shown_through_, queue_.Shown(i)->datagram);
  return change;
}

void CTransactionLog::Reset() {
  queue_.Clear();
  datagrams_.ClearThrough(shown_through_);
}

void AppendSavedHeader(CUtf16Text& file) {
  file.Append(tvkutil::FormatN(L"%-10s\t%-8s\t%-21s\t%s", SIZE_MAX,
                               tvkutil::LoadString(tvkutil::ids::kColumnDate),
                               tvkutil::LoadString(tvkutil::ids::kColumnTime),
                               tvkutil::LoadString(tvkutil::ids::kColumnSource),
                               tvkutil::LoadString(tvkutil::ids::kColumnTransaction)));
}

void AppendSavedRow(CUtf16Text& file, const CTransactionRow& row) {
  if (row.first_row) {
    const std::wstring source = SourceColumnText(row);
    file.Append(L"\r\n");
    file.Append(DateText(row.stamp));
    file.Append(L"\t");
    file.Append(TimeText(row.stamp));
    file.Append(L"\t");
    file.Append(source);
    // Padding as "%*s" with 21 minus the text's length: a negative width pads on the
    // left-justified side, so an overlong source gets as many spaces as it overshoots.
    const int width = kSourceColumnWidth - static_cast<int>(source.size());
    file.Append(std::wstring(static_cast<std::size_t>(std::abs(width)), L' '));
    file.Append(L"\t");
  }
  file.Append(row.text);
}

std::string CTransactionLog::SavedFileBytes() const {
  CUtf16Text file;
  AppendSavedHeader(file);
  queue_.WithAll([&](const auto& shown) {
    for (const auto& row : shown)
      AppendSavedRow(file, *row);
    return 0;
  });
  return file.Bytes();
}

std::vector<CTransactionRow> CTransactionLog::CopyPending() const {
  return queue_.WithPending([](const auto& pending) {
    std::vector<CTransactionRow> copy;
    for (const auto& row : pending)
      copy.push_back(*row);
    return copy;
  });
}

std::error_code CTransactionLog::SaveToFile(const std::filesystem::path& path) const {
  return tvkutil::ReplaceFile(path, SavedFileBytes());
}

}  // namespace logs
