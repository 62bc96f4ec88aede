#include "logs/event_log.h"

#include <memory>

#include "logs/utf16_file.h"
#include "util/file_replace.h"
#include "util/string_table.h"
#include "util/text.h"

namespace logs {

void CEventLog::AddEvent(const std::wstring& text) {
  // The entry and its time stamp are made before the lock, so adding threads hold it briefly.
  auto entry = std::make_unique<CEventEntry>();
  entry->stamp = TakeTimeStamp();
  entry->text = text;
  queue_.Add(std::move(entry));
}

std::string CEventLog::SavedFileBytes() const {
  CUtf16Text file;
  file.Append(tvkutil::FormatN(L"%-10s\t%-8s\t%s", SIZE_MAX,
                               tvkutil::LoadString(tvkutil::ids::kColumnDate),
                               tvkutil::LoadString(tvkutil::ids::kColumnTime),
                               tvkutil::LoadString(tvkutil::ids::kColumnEvent)));
  queue_.WithAll([&](const auto& shown) {
    for (const auto& entry : shown) {
      file.Append(L"\r\n");
      file.Append(DateText(entry->stamp));
      file.Append(L"\t");
      file.Append(TimeText(entry->stamp));
      file.Append(L"\t");
      file.Append(entry->text);
    }
    return 0;
  });
  return file.Bytes();
}

std::vector<CEventEntry> CEventLog::CopyPending() const {
  return queue_.WithPending([](const auto& pending) {
    std::vector<CEventEntry> copy;
    for (const auto& e : pending)
      copy.push_back(*e);
    return copy;
  });
}

std::error_code CEventLog::SaveToFile(const std::filesystem::path& path) const {
  return tvkutil::ReplaceFile(path, SavedFileBytes());
}

}  // namespace logs
