#include "cli/cli_transaction_log.h"

#include "logs/datagram_store.h"
#include "logs/pcapng_file.h"
#include "logs/transaction_log.h"

namespace cli {

namespace {

std::string Failure(const std::string& path, const std::error_code& reason) {
  return path + ": " + reason.message();
}

}  // namespace

CCliTransactionLog::CCliTransactionLog(std::string log_path, std::string pcapng_path)
    : log_path_(std::move(log_path)), pcapng_path_(std::move(pcapng_path)) {}

std::string CCliTransactionLog::Open() {
  std::lock_guard lock(mutex_);
  if (!log_path_.empty()) {
    if (const std::error_code failed = log_file_.Open(log_path_))
      return Failure(log_path_, failed);
    logs::AppendSavedHeader(log_text_);  // after the byte-order mark
    log_file_.Write(log_text_.TakeBytes());
  }
  if (!pcapng_path_.empty()) {
    if (const std::error_code failed = pcapng_file_.Open(pcapng_path_)) {
      log_file_.Abandon();
      return Failure(pcapng_path_, failed);
    }
    std::string header;
    logs::AppendPcapngHeader(header);
    pcapng_file_.Write(header);
  }
  return {};
}

void CCliTransactionLog::LogDatagram(std::int32_t direction, std::wstring_view source,
                                     std::span<const std::uint8_t> bytes,
                                     const logs::DatagramEnds& ends) {
  std::lock_guard lock(mutex_);
  if (log_file_.IsOpen()) {
    for (const logs::CTransactionRow& row :
         logs::SplitTransaction(direction, source, bytes.data(), bytes.size(), 0))
      logs::AppendSavedRow(log_text_, row);
    log_file_.Write(log_text_.TakeBytes());
  }
  if (pcapng_file_.IsOpen()) {
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
    pcapng_file_.Write(block);
  }
}

void CCliTransactionLog::LogText(std::int32_t direction, std::wstring_view source,
                                 std::string_view text) {
  {
    std::lock_guard lock(mutex_);
    if (log_file_.IsOpen()) {
      for (const logs::CTransactionRow& row : logs::SplitTransaction(
               direction, source, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
               1))
        logs::AppendSavedRow(log_text_, row);
      log_file_.Write(log_text_.TakeBytes());
    }
  }
  if (echo_)
    echo_(text);
}

std::string CCliTransactionLog::Close() {
  std::lock_guard lock(mutex_);
  std::string failed;
  const auto close = [&failed](tvkutil::CReplacingFile& file, const std::string& path) {
    if (!file.IsOpen())
      return;
    if (const std::error_code reason = file.Commit(); reason && failed.empty())
      failed = Failure(path, reason);
  };
  close(log_file_, log_path_);
  close(pcapng_file_, pcapng_path_);
  return failed;
}

}  // namespace cli
