#include "cli/cli_transaction_log.h"

#include "logs/datagram_store.h"
#include "logs/pcapng_file.h"
#include "logs/transaction_log.h"

namespace cli {

namespace {

void Write(std::ofstream& file, const std::string& bytes) {
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

CCliTransactionLog::CCliTransactionLog(std::string log_path, std::string pcapng_path)
    : log_path_(std::move(log_path)), pcapng_path_(std::move(pcapng_path)) {}

std::string CCliTransactionLog::Open() {
  std::lock_guard lock(mutex_);
  if (!log_path_.empty()) {
    log_file_.open(log_path_, std::ios::binary | std::ios::trunc);
    if (!log_file_)
      return log_path_;
    logs::AppendSavedHeader(log_text_);  // after the byte-order mark
    Write(log_file_, log_text_.TakeBytes());
  }
  if (!pcapng_path_.empty()) {
    pcapng_file_.open(pcapng_path_, std::ios::binary | std::ios::trunc);
    if (!pcapng_file_)
      return pcapng_path_;
    std::string header;
    logs::AppendPcapngHeader(header);
    Write(pcapng_file_, header);
  }
  return {};
}

void CCliTransactionLog::LogDatagram(std::int32_t direction, std::wstring_view source,
                                     std::span<const std::uint8_t> bytes,
                                     const logs::DatagramEnds& ends) {
  std::lock_guard lock(mutex_);
  if (log_file_.is_open()) {
    for (const logs::CTransactionRow& row :
         logs::SplitTransaction(direction, source, bytes.data(), bytes.size(), 0))
      logs::AppendSavedRow(log_text_, row);
    Write(log_file_, log_text_.TakeBytes());
  }
  if (pcapng_file_.is_open()) {
    logs::KeptDatagram datagram;
    datagram.number = ++datagrams_;
    datagram.time_us = logs::NowMicroseconds();
    datagram.direction = direction;
    if (source_ == nullptr || *source_ != source)
      source_ = std::make_shared<const std::wstring>(source);
    datagram.source = source_;
    datagram.local = logs::DatagramEnd::From(ends.local);
    datagram.remote = logs::DatagramEnd::From(ends.remote);
    datagram.bytes.assign(bytes.begin(), bytes.end());
    std::string block;
    logs::AppendPcapngPacket(block, datagram);
    Write(pcapng_file_, block);
  }
}

void CCliTransactionLog::LogText(std::int32_t direction, std::wstring_view source,
                                 std::string_view text) {
  {
    std::lock_guard lock(mutex_);
    if (log_file_.is_open()) {
      for (const logs::CTransactionRow& row : logs::SplitTransaction(
               direction, source, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
               1))
        logs::AppendSavedRow(log_text_, row);
      Write(log_file_, log_text_.TakeBytes());
    }
  }
  if (echo_)
    echo_(text);
}

std::string CCliTransactionLog::Close() {
  std::lock_guard lock(mutex_);
  std::string failed;
  const auto close = [&failed](std::ofstream& file, const std::string& path) {
    if (!file.is_open())
      return;
    file.close();
    if (file.fail() && failed.empty())
      failed = path;
  };
  close(log_file_, log_path_);
  close(pcapng_file_, pcapng_path_);
  return failed;
}

}  // namespace cli
